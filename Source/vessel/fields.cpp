#include "vessel/fields.h"

#include <cwctype>
#include <strings.h>

namespace skar::vessel {

Text copyOf(const wchar_t* text) {
    return text == nullptr ? Text() : Text(text);
}

Text withoutQuotes(const wchar_t* text) {
    Text copy = copyOf(text);
    if (copy && !copy->empty() && copy->front() == L'"') copy->erase(0, 1);
    if (copy && !copy->empty() && copy->back() == L'"') copy->pop_back();
    return copy;
}

bool equalsIgnoringCase(const wchar_t* left, const wchar_t* right) {
    if (left == nullptr || right == nullptr) return left == right;
    while (*left != L'\0' &&
           std::towlower(static_cast<wint_t>(*left)) == std::towlower(static_cast<wint_t>(*right))) {
        ++left;
        ++right;
    }
    return *left == *right;
}

std::optional<double> numberIn(const xmlNode* element, const char* attribute) {
    if (!xml::hasAttribute(element, attribute)) return std::nullopt;
    return xml::numberOf(xml::attribute(element, attribute).value_or(std::string()));
}

Text textIn(const xmlNode* element, const char* attribute) {
    if (!xml::hasAttribute(element, attribute)) return std::nullopt;
    return xml::wideOf(xml::attribute(element, attribute).value_or(std::string()));
}

Text textOfChild(const xmlNode* parent, const char* name) {
    return textIn(xml::child(parent, name), "value");
}

void storeTextOfChild(xmlNode* parent, const char* name, const Text& text) {
    if (!text) {
        xml::deleteChildren(parent, name);
    } else if (xmlNode* place = xml::childOrNew(parent, name)) {
        xml::setAttribute(place, "value", xml::utf8Of(text->c_str()));
    }
}

const char* yesNoText(bool flag) {
    return flag ? "Yes" : "No";
}

bool yesNoValue(std::string_view text) {
    const std::string terminated(text);
    return strcasecmp(terminated.c_str(), "yes") == 0 || strcasecmp(terminated.c_str(), "true") == 0;
}

} // namespace skar::vessel
