#include "commands/contacts.h"

#include "commands/output.h"
#include "contactlist.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace skar::tool {

namespace {

struct Options {
    std::string line;
    bool add = false;
    std::vector<int> remove;
    std::optional<int> number;
    int ping = 0;
    double latitude = 0.0;
    double longitude = 0.0;
    double value = 0.0;
    std::vector<double> measures;
    std::vector<int> codes;
    std::string source;
    std::string subSource;
    std::string second;
    std::string subSecond;
    std::string identifier;
    std::string secondIdentifier;
    std::string remark;
    bool flag = false;
};

// The blanks that fill a field up are part of it in the file.
std::string trimmed(const wchar_t* field) {
    std::string text = narrowText(field);
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string nameOf(const wchar_t* field) {
    const std::string text = trimmed(field);
    const std::size_t point = text.find('.');
    std::string stem = text.substr(0, point);
    stem.erase(stem.find_last_not_of(' ') + 1);
    const std::string behind = point == std::string::npos ? "" : text.substr(point + 1);
    return behind.empty() ? stem : stem + "." + behind;
}

template <std::size_t Size>
void setText(wchar_t (&field)[Size], const std::string& text, const char* option, std::size_t most) {
    const std::wstring wide = wideText(text);
    if (wide.size() > most) {
        throw ToolError(fmt::format("{} {}: has more than {} characters", option, printable(text), most),
                        exitUsage);
    }
    field[wide.copy(field, Size - 1)] = L'\0';
}

// The file has no other place for a name: eight characters, a point, three more.
template <std::size_t Size>
void setName(wchar_t (&field)[Size], const std::string& text, const char* option) {
    constexpr std::size_t stem = 8;
    const std::size_t point = text.find('.');
    const std::string before = text.substr(0, point);
    const std::string behind = point == std::string::npos ? "" : text.substr(point + 1);
    if (wideText(before).size() > stem || wideText(behind).size() > 3) {
        throw ToolError(fmt::format("{} {}: a name has at most eight characters, and three behind the point",
                                    option, printable(text)),
                        exitUsage);
    }
    setText(field, before + std::string(stem - std::min(stem, wideText(before).size()), ' ') + "." + behind,
            option, stem + 4);
}

Contact contactOf(const Options& options, const std::vector<Contact>& others) {
    Contact contact;
    contact.number = 1;
    for (const Contact& other : others)
        contact.number = std::max(contact.number, other.number + 1);
    if (options.number) contact.number = *options.number;
    if (std::ranges::find(others, contact.number, &Contact::number) != others.end())
        throw ToolError(fmt::format("--number {}: is the number of another contact", contact.number),
                        exitUsage);
    contact.kind = 1;
    contact.profile = options.ping;
    contact.latitude = options.latitude;
    contact.longitude = options.longitude;
    contact.value = options.value;
    std::ranges::copy(options.measures, contact.measures);
    std::ranges::copy(options.codes, contact.codes);
    setName(contact.sourceName, options.source, "--source");
    setText(contact.sourceSubName, options.subSource, "--sub-source", 3);
    setName(contact.secondName, options.second, "--second");
    setText(contact.secondSubName, options.subSecond, "--sub-second", 3);
    setText(contact.firstIdentifier, options.identifier, "--identifier", 8);
    setText(contact.secondIdentifier, options.secondIdentifier, "--second-identifier", 12);
    setText(contact.remark, options.remark, "--remark", 80);
    contact.flag = options.flag;
    return contact;
}

void removeContacts(std::vector<Contact>& contacts, const std::vector<int>& numbers) {
    for (const int number : numbers) {
        if (std::erase_if(contacts, [&](const Contact& contact) { return contact.number == number; }) == 0)
            throw ToolError(fmt::format("--remove {}: no such contact", number));
    }
}

std::string pingsOf(const Contact& contact) {
    if (contact.kind == 1) return fmt::to_string(contact.profile);
    return fmt::format("{}-{}", contact.lowestProfile, contact.highestProfile);
}

void printText(const LinePath& line, ContactList& list) {
    fmt::print("Line        {}\n", printable(line.native.string()));
    if (!list.isPresent()) {
        fmt::print("No contacts.\n");
        return;
    }
    fmt::print("Version     {}\n", list.version());
    if (!list.colourMap().empty()) fmt::print("Colour map  {}\n", printable(list.colourMap()));
    fmt::print("Positions, values and measures stand as in the file.\n\n");
    Table table({{"NUMBER", Align::right},
                 {"KIND"},
                 {"PINGS", Align::right},
                 {"LATITUDE", Align::right},
                 {"LONGITUDE", Align::right},
                 {"SOURCE"},
                 {"IDENTIFIER"},
                 {"REMARK"}});
    for (const Contact& contact : list.contacts()) {
        const bool isPoint = contact.kind == 1;
        table.add(
            {fmt::to_string(contact.number), isPoint ? "point" : fmt::format("{} points", contact.numPoints),
             pingsOf(contact), isPoint ? fmt::format("{:.7f}", contact.latitude) : "",
             isPoint ? fmt::format("{:.7f}", contact.longitude) : "", printable(nameOf(contact.sourceName)),
             printable(trimmed(contact.firstIdentifier)), printable(trimmed(contact.remark))});
    }
    table.print();
    if (list.unreadable() != 0) fmt::print("\n{} lines that do not decode\n", list.unreadable());
}

Json contactJson(const Contact& contact) {
    Json json = {{"number", contact.number},
                 {"kind", contact.kind},
                 {"source", nameOf(contact.sourceName)},
                 {"subSource", trimmed(contact.sourceSubName)},
                 {"second", nameOf(contact.secondName)},
                 {"subSecond", trimmed(contact.secondSubName)},
                 {"identifier", trimmed(contact.firstIdentifier)},
                 {"secondIdentifier", trimmed(contact.secondIdentifier)}};
    if (contact.kind == 1) {
        json["ping"] = contact.profile;
        json["value"] = contact.value;
        json["latitude"] = contact.latitude;
        json["longitude"] = contact.longitude;
    } else {
        json["points"] = Json::array();
        for (std::size_t i = 0; i < contact.pointProfile.size(); ++i) {
            json["points"].push_back({{"ping", contact.pointProfile[i]},
                                      {"first", contact.pointFirst[i]},
                                      {"second", contact.pointSecond[i]},
                                      {"latitude", contact.pointLatitude[i]},
                                      {"longitude", contact.pointLongitude[i]}});
        }
    }
    json["measures"] = contact.measures;
    json["codes"] = contact.codes;
    json["flag"] = contact.flag;
    json["remark"] = trimmed(contact.remark);
    return json;
}

Json toJson(const LinePath& line, ContactList& list) {
    Json json = {{"line", line.native.string()},
                 {"version", list.version()},
                 {"colourMap", list.colourMap()},
                 {"unreadable", list.unreadable()},
                 {"contacts", Json::array()}};
    for (const Contact& contact : list.contacts())
        json["contacts"].push_back(contactJson(contact));
    return json;
}

int run(const Options& options, const Common& common) {
    const LinePath line = existingLine(options.line);
    ContactList list(line);
    if (options.add || !options.remove.empty()) {
        if (list.unreadable() != 0) {
            throw ToolError(
                fmt::format("{}: {} lines of its contacts do not decode and would be lost; nothing is "
                            "changed",
                            printable(line.native.string()), list.unreadable()));
        }
        removeContacts(list.contacts(), options.remove);
        if (options.add) list.contacts().push_back(contactOf(options, list.contacts()));
        list.save();
    }
    ContactList now(line);
    if (common.json)
        printJson(toJson(line, now));
    else
        printText(line, now);
    return now.unreadable() != 0 ? exitFailure : exitSuccess;
}

} // namespace

Run declareContacts(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    constexpr int most = std::numeric_limits<int>::max() - 1;
    app.add_option("LINE", options->line, "Directory of the line")->required();
    CLI::Option* const add = app.add_flag("--add", options->add, "Add a contact of a single point");
    app.add_option("--remove", options->remove, "Remove the contacts of these numbers, separated by commas")
        ->delimiter(',')
        ->type_name("NUMBERS");
    const auto ofContact = [&](const char* name, auto& value, const char* about, const char* type) {
        return app.add_option(name, value, about)->needs(add)->type_name(type);
    };
    ofContact("--number", options->number, "Its number (default: the largest of the others and one)", "N")
        ->check(CLI::Range(0, most));
    ofContact("--ping", options->ping, "Its ping", "N")->check(CLI::Range(0, most));
    ofContact("--latitude", options->latitude, "Position, in the unit of the file", "VALUE");
    ofContact("--longitude", options->longitude, "Position, in the unit of the file", "VALUE");
    ofContact("--value", options->value, "Value of the point", "VALUE");
    ofContact("--measures", options->measures, "Three measures, separated by commas", "VALUES")
        ->delimiter(',')
        ->expected(3);
    ofContact("--codes", options->codes, "Two codes, separated by commas", "CODES")
        ->delimiter(',')
        ->expected(2);
    ofContact("--source", options->source, "Name of its source: eight characters, a point, three more",
              "NAME");
    ofContact("--sub-source", options->subSource, "Three characters more", "NAME");
    ofContact("--second", options->second, "Second name, as --source", "NAME");
    ofContact("--sub-second", options->subSecond, "Three characters more", "NAME");
    ofContact("--identifier", options->identifier, "First identifier, at most 8 characters", "TEXT");
    ofContact("--second-identifier", options->secondIdentifier, "At most 12 characters", "TEXT");
    ofContact("--remark", options->remark, "At most 80 characters", "TEXT");
    app.add_flag("--flag", options->flag, "Set its flag")->needs(add);
    app.footer(
        "Lists the contacts, after the change where one is asked for. A change writes the file anew, in\n"
        "version 4; a file with lines that do not decode is left as it is, and listing it gives status 1.\n"
        "Example:  skar contacts LINE --add --ping 431 --latitude 44.6 --longitude -63.5 --remark Wreck");
    return [options](const Common& common) { return run(*options, common); };
}

} // namespace skar::tool
