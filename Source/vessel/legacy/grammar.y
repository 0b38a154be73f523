/* The statements of a vessel text; docs/legacy-vessel.md shows them. All lists grow to the left, so that no file can
   make the parser's stack deep. */
%code requires {
#include "vessel/legacy/parser.h"
}

%define api.pure full
%define api.prefix {skarLegacy}
%define api.token.prefix {LEGACY_}
%expect 0
%parse-param {skar::vessel::legacy::Parser& parser} {void* scanner}
%lex-param {void* scanner}

%union {
    double number;
    char* text;
    bool flag;
}

%code {
#include <cstdlib>
#include <cstring>

using skar::vessel::legacy::Parser;

/* A stack this small grows within the first longer statement, so growing is nothing that happens to few files. */
#define YYINITDEPTH 8
#define YYMAXDEPTH 64
#define YYMALLOC(size) parser.allocate(nullptr, size)
#define YYFREE std::free

int skarLegacylex(SKARLEGACYSTYPE* value, void* scanner);

namespace {

void skarLegacyerror(Parser& parser, void*, const char* text) {
    parser.message(std::strcmp(text, "memory exhausted") == 0 ? "yacc stack overflow" : text);
}

}
}

%token DEPTH GYRO HEAVE NAVIGATION PITCH ROLL DRAFT SOUNDVELOCITY WATERLINE TOWED
%token MANUFACTURER MODEL SERIALNUMBER COMMENT AUTHORIZATION
%token LATENCY LATENCY2 OFFSET APPLY POSITION POSITION2 MOUNT MOUNT2
%token CLASS BEAMS BEAM STARTBEAM STARTBEAM2 ELLIPSE ROW HEIGHT LAYBACK
%token <number> TIME NUMBER
%token <text> TEXT
%token <flag> FLAG

%destructor { std::free($$); } <text>

%%

statements:
    %empty
  | statements statement ';'
  ;

statement:
    DEPTH TIME { if (!parser.beginDepth($2)) YYABORT; } depthFields { if (!parser.endDepth()) YYABORT; }
  | GYRO TIME { if (!parser.beginGyro($2)) YYABORT; } angleFields
  | HEAVE TIME { if (!parser.beginHeave($2)) YYABORT; } heaveFields
  | NAVIGATION TIME { if (!parser.beginNavigation($2)) YYABORT; } navigationFields
  | PITCH TIME { if (!parser.beginPitch($2)) YYABORT; } angleFields
  | ROLL TIME { if (!parser.beginRoll($2)) YYABORT; } angleFields
  | DRAFT TIME { if (!parser.beginDraft($2)) YYABORT; } draftFields
  | SOUNDVELOCITY TIME { if (!parser.beginSoundVelocity($2)) YYABORT; } soundVelocityFields
  | WATERLINE TIME { if (!parser.beginWaterline($2)) YYABORT; } waterlineFields
  | TOWED TIME { if (!parser.beginTowed($2)) YYABORT; } towedFields
  ;

depthFields: %empty | depthFields depthField ;
depthField:
    remark | equipment | latency | position | mount
  | position2 { parser.secondHead(); }
  | mount2 { parser.secondHead(); }
  | LATENCY2 NUMBER { parser.depth().latency2 = $2; parser.secondHead(); }
  | CLASS TEXT { Parser::put(parser.depth().sensorClass, $2); }
  | BEAMS NUMBER { if (!parser.count($2, 0, parser.depth().numberOfBeams)) YYABORT; }
  | STARTBEAM NUMBER { if (!parser.count($2, 1, parser.depth().startBeam)) YYABORT; }
  | STARTBEAM2 NUMBER { if (!parser.count($2, 1, parser.depth().startBeam2)) YYABORT; }
  | BEAM FLAG NUMBER NUMBER NUMBER { if (!parser.addBeam($2, {$3, $4, $5})) YYABORT; }
  ;

angleFields: %empty | angleFields angleField ;
angleField: remark | equipment | latency | offset | apply ;

heaveFields: %empty | heaveFields heaveField ;
heaveField: remark | equipment | latency | position | offset | apply ;

navigationFields: %empty | navigationFields navigationField ;
navigationField:
    remark | equipment | latency | position
  | ELLIPSE TEXT { Parser::put(parser.navigation().ellipse, $2); }
  ;

draftFields: %empty | draftFields draftField ;
draftField:
    remark | apply
  | ROW NUMBER NUMBER { if (!parser.addDraft($2, $3)) YYABORT; }
  ;

soundVelocityFields: %empty | soundVelocityFields soundVelocityField ;
soundVelocityField: remark | position | position2 | mount | mount2 ;

waterlineFields: %empty | waterlineFields waterlineField ;
waterlineField:
    remark | apply
  | HEIGHT NUMBER { parser.waterline().height = $2; }
  ;

towedFields: %empty | towedFields towedField ;
towedField:
    remark | equipment | latency | position
  | LAYBACK NUMBER { parser.towed().layback = $2; }
  ;

remark:
    COMMENT TEXT { Parser::put(parser.places.remarks->comment, $2); }
  | AUTHORIZATION TEXT { Parser::put(parser.places.remarks->authorization, $2); }
  ;

equipment:
    MANUFACTURER TEXT { Parser::put(parser.places.equipment->manufacturer, $2); }
  | MODEL TEXT { Parser::put(parser.places.equipment->model, $2); }
  | SERIALNUMBER TEXT { Parser::put(parser.places.equipment->serialNumber, $2); }
  ;

latency: LATENCY NUMBER { *parser.places.latency = $2; } ;
offset: OFFSET NUMBER { *parser.places.offset = $2; } ;
apply: APPLY FLAG { *parser.places.apply = $2; } ;
position: POSITION NUMBER NUMBER NUMBER { *parser.places.position = {$2, $3, $4}; } ;
position2: POSITION2 NUMBER NUMBER NUMBER { *parser.places.position2 = {$2, $3, $4}; } ;
mount: MOUNT NUMBER NUMBER NUMBER { *parser.places.mount = {$2, $3, $4}; } ;
mount2: MOUNT2 NUMBER NUMBER NUMBER { *parser.places.mount2 = {$2, $3, $4}; } ;
