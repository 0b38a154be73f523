#pragma once

#include "xml/nodes.h"
#include "xml/numbertext.h"

#include <skar/vesselsensors.h>

#include <type_traits>
#include <variant>

// The fields of an entry as a table: each row says once where a member stands in the file and when it is
// written. Rows are stored in their order.
namespace skar::vessel {

// Rows of their own below the entry's element, such as those of a draft table.
template <class Owner>
struct Rows {
    void (*load)(Owner& owner, const xmlNode* entry);
    void (*store)(const Owner& owner, xmlNode* entry);
};

template <class Owner>
struct Field {
    // The child element of the entry, null for the entry's own; its attribute; the member.
    const char* element;
    const char* attribute;
    std::variant<double Owner::*, bool Owner::*, Text Owner::*, Rows<Owner>> member;
    // An element around that one.
    const char* outer = nullptr;
    // Null for a field that is always written.
    bool (*written)(const Owner&) = nullptr;
    // The spelling that is looked for when loading, where it is another one.
    const char* readElement = nullptr;
};

template <class Owner>
constexpr Field<Owner> rowsOf(void (*load)(Owner&, const xmlNode*), void (*store)(const Owner&, xmlNode*)) {
    return {nullptr, nullptr, Rows<Owner>{load, store}};
}

Text copyOf(const wchar_t* text);
Text withoutQuotes(const wchar_t* text);
bool equalsIgnoringCase(const wchar_t* left, const wchar_t* right);

// Values of attributes; nothing where the attribute is missing.
std::optional<double> numberIn(const xmlNode* element, const char* attribute);
Text textIn(const xmlNode* element, const char* attribute);
// The attribute "value" of a child.
Text textOfChild(const xmlNode* parent, const char* name);
// Null takes the child out of the file.
void storeTextOfChild(xmlNode* parent, const char* name, const Text& text);

// Sets the rows in the order of speed, in which the table takes each in one step, however they come. Of rows
// of one speed the last counts; what is no number comes last.
void setDrafts(SKARDraftConfig& owner, std::vector<SKARDraftConfig::vesselDraft> rows);

const char* yesNoText(bool flag);
bool yesNoValue(std::string_view text);

template <class Owner, std::size_t count>
void loadFields(std::type_identity_t<Owner>& owner, const xmlNode* entry,
                const Field<Owner> (&fields)[count]) {
    for (const Field<Owner>& field : fields) {
        if (const auto* own = std::get_if<Rows<Owner>>(&field.member)) {
            own->load(owner, entry);
            continue;
        }
        const xmlNode* place = field.outer == nullptr ? entry : xml::child(entry, field.outer);
        if (field.element != nullptr) {
            place = xml::child(place, field.readElement != nullptr ? field.readElement : field.element);
        }
        if (const auto* number = std::get_if<double Owner::*>(&field.member)) {
            owner.** number = numberIn(place, field.attribute).value_or(owner.**number);
        } else if (const auto* flag = std::get_if<bool Owner::*>(&field.member)) {
            if (xml::hasAttribute(place, field.attribute)) {
                owner.** flag = yesNoValue(xml::attribute(place, field.attribute).value_or(std::string()));
            }
        } else if (const auto* text = std::get_if<Text Owner::*>(&field.member)) {
            owner.** text = textIn(place, field.attribute);
        }
    }
}

template <class Owner, std::size_t count>
void storeFields(const std::type_identity_t<Owner>& owner, xmlNode* entry,
                 const Field<Owner> (&fields)[count]) {
    for (const Field<Owner>& field : fields) {
        if (field.written != nullptr && !field.written(owner)) continue;
        if (const auto* own = std::get_if<Rows<Owner>>(&field.member)) {
            own->store(owner, entry);
            continue;
        }
        xmlNode* around = field.outer == nullptr ? entry : xml::childOrNew(entry, field.outer);
        if (const auto* text = std::get_if<Text Owner::*>(&field.member)) {
            storeTextOfChild(around, field.element, owner.**text);
            continue;
        }
        xmlNode* place = field.element == nullptr ? around : xml::childOrNew(around, field.element);
        if (place == nullptr) continue;
        if (const auto* number = std::get_if<double Owner::*>(&field.member)) {
            xml::setAttribute(place, field.attribute, owner.**number);
        } else if (const auto* flag = std::get_if<bool Owner::*>(&field.member)) {
            xml::setAttribute(place, field.attribute, yesNoText(owner.**flag));
        }
    }
}

} // namespace skar::vessel
