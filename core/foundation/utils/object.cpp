#include <skar/strings.h>

#include <cxxabi.h>

#include <cstdlib>
#include <typeinfo>

namespace MORVAPP {

namespace {

std::string typeName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    return status == 0 ? readable.get() : type.name();
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

} // namespace

MORVAObject::~MORVAObject() = default;

std::string MORVAObject::toText() const {
    return "<MORVAObject typeid=\"" + escaped(typeName(typeid(*this))) + "\"/>\n";
}

} // namespace MORVAPP
