#include "xml/nodes.h"
#include "xml/numbertext.h"

#include <cwchar>

namespace {

constexpr const char* valueName = "value";

const xmlChar* xmlText(const std::string& text) {
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

std::string nameOf(const wchar_t* name) {
    return MORVAUString(name).toUTF8();
}

xmlNodePtr written(xmlNodePtr parent, const wchar_t* name, const std::string* value) {
    const xmlNodePtr element = CreateNode(parent, name);
    if (element != nullptr && value != nullptr) {
        skar::xml::setAttribute(element, valueName, *value);
    }
    return element;
}

// The element, and the text of its value, empty where there is none.
xmlNodePtr readText(xmlNodePtr parent, const wchar_t* name, std::string& text) {
    const xmlNodePtr element = parent == nullptr ? nullptr : getNode(parent->children, name);
    text = skar::xml::attribute(element, valueName).value_or("");
    return element;
}

} // namespace

xmlDocPtr CreateXmlFile(const wchar_t* rootName, float version) {
    const std::string name = nameOf(rootName);
    skar::xml::Document document(xmlNewDoc(xmlText("1.0")));
    if (document == nullptr || xmlValidateName(xmlText(name), 0) != 0) {
        return nullptr;
    }
    document->standalone = 1;
    const xmlNodePtr root = xmlNewDocNode(document.get(), nullptr, xmlText(name), nullptr);
    if (root == nullptr) {
        return nullptr;
    }
    xmlDocSetRootElement(document.get(), root);
    skar::xml::setAttribute(root, "Version", skar::xml::fixedText(static_cast<double>(version), 2));
    return document.release();
}

xmlDocPtr OpenXmlFile(const wchar_t* path) {
    return skar::xml::parseFile(path).release();
}

int SaveXmlFile(xmlDocPtr document, const wchar_t* path) {
    return skar::xml::saveFile(document, path, nullptr, true);
}

void FreeXmlDoc(xmlDocPtr document) {
    if (document != nullptr) {
        xmlFreeDoc(document);
    }
}

xmlNodePtr CreateNode(xmlNodePtr parent, const wchar_t* name) {
    if (parent == nullptr || name == nullptr) {
        return nullptr;
    }
    const xmlNodePtr found = getNode(parent->children, name);
    return found != nullptr ? found : skar::xml::newChild(parent, nameOf(name).c_str());
}

void DeleteNode(xmlNodePtr node) {
    if (node != nullptr) {
        xmlUnlinkNode(node);
        xmlFreeNode(node);
    }
}

xmlNodePtr CopyNode(xmlNodePtr node, int recursive) {
    return node == nullptr ? nullptr : xmlCopyNode(node, recursive);
}

xmlNodePtr getNode(xmlNodePtr node, const wchar_t* name) {
    return name == nullptr ? nullptr : getNode2(node, nameOf(name).c_str());
}

xmlNodePtr getNode2(xmlNodePtr node, const char* name) {
    if (node == nullptr || name == nullptr) {
        return nullptr;
    }
    const bool isRoot = node->doc != nullptr && xmlDocGetRootElement(node->doc) == node;
    for (xmlNodePtr next = isRoot ? node->children : node; next != nullptr; next = next->next) {
        if (skar::xml::isElement(next) &&
            xmlStrcasecmp(next->name, reinterpret_cast<const xmlChar*>(name)) == 0) {
            return next;
        }
    }
    return nullptr;
}

xmlNodePtr WriteElementDouble(xmlNodePtr parent, const wchar_t* name, double value) {
    const std::string text = skar::xml::fixedText(value);
    return written(parent, name, &text);
}

xmlNodePtr WriteElementInt(xmlNodePtr parent, const wchar_t* name, std::int32_t value) {
    const std::string text = std::to_string(value);
    return written(parent, name, &text);
}

xmlNodePtr WriteElementString(xmlNodePtr parent, const wchar_t* name, const wchar_t* value) {
    const std::string text = skar::xml::utf8Of(value);
    return written(parent, name, value == nullptr ? nullptr : &text);
}

xmlNodePtr ReadElementDouble(xmlNodePtr parent, const wchar_t* name, double* value) {
    std::string text;
    const xmlNodePtr element = readText(parent, name, text);
    if (value != nullptr) {
        *value = skar::xml::numberOf(text);
    }
    return element;
}

xmlNodePtr ReadElementInt(xmlNodePtr parent, const wchar_t* name, std::int32_t* value) {
    std::string text;
    const xmlNodePtr element = readText(parent, name, text);
    if (value != nullptr) {
        *value = skar::xml::integerOf(text);
    }
    return element;
}

xmlNodePtr ReadElementString(xmlNodePtr parent, const wchar_t* name, wchar_t* buffer) {
    std::string text;
    const xmlNodePtr element = readText(parent, name, text);
    CopyString(buffer, text.c_str());
    return element;
}

void CopyString(wchar_t* buffer, const char* text) {
    if (buffer != nullptr) {
        const std::wstring wide = text == nullptr ? std::wstring() : skar::xml::wideOf(text);
        std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
    }
}
