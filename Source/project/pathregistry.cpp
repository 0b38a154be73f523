#include "platform/file.h"
#include "xml/nodes.h"

#include <skar/codes.h>
#include <skar/project.h>

#include <memory>
#include <new>
#include <string_view>

namespace codes = skar::codes;
namespace xml = skar::xml;

namespace SKAR::Project {

namespace {

constexpr const char* rootName = "SKAR_DOLM_Project_Registry";
constexpr const char* entryName = "Project";

std::unique_ptr<PathRegistry>& instance() {
    static std::unique_ptr<PathRegistry> registry;
    return registry;
}

// When the file was changed last; 0 for one that cannot be looked at.
std::int64_t modificationOf(const MORVAUString& file) {
    skar::platform::FileStatus status;
    return skar::platform::fileStatus(file.getTerminatedBuffer(), status) ? status.modified : 0;
}

bool isNamed(const xmlNode* node, std::string_view name) {
    return reinterpret_cast<const char*>(node->name) == name;
}

// 0, or what is wrong with the document's root.
long checkRoot(xmlDoc* document) {
    const xmlNode* root = xmlDocGetRootElement(document);
    if (root == nullptr) return codes::registryNoRoot;
    return isNamed(root, rootName) ? codes::success : codes::registryWrongRoot;
}

xml::Document newDocument() {
    xml::Document document(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
    if (document == nullptr) throw std::bad_alloc();
    xmlDocSetRootElement(document.get(), xmlNewDocNode(document.get(), nullptr,
                                                       reinterpret_cast<const xmlChar*>(rootName), nullptr));
    return document;
}

MORVAUString textOf(const xmlNode* entry, const char* attribute) {
    return MORVAUString(xml::attribute(entry, attribute).value_or("").c_str());
}

} // namespace

PathRegistry::PathRegistry(const MORVAUString& file) : fileName(file) {}

PathRegistry& PathRegistry::getInstance() {
    if (instance() == nullptr) {
        instance() = std::make_unique<PathRegistry>(MORVAUString());
    } else {
        instance()->checkForExternalMod();
    }
    return *instance();
}

long PathRegistry::loadInstance(const MORVAUString& file) {
    instance() = std::make_unique<PathRegistry>(file);
    return instance()->load();
}

void PathRegistry::checkForExternalMod() {
    if (!fileName.isEmpty() && modificationOf(fileName) > lastModification) load();
}

long PathRegistry::load() {
    paths.clear();
    lastModification = modificationOf(fileName);
    const xml::Document document = xml::parseFile(fileName.getTerminatedBuffer());
    if (document == nullptr) return codes::success;
    if (const long result = checkRoot(document.get())) return result;
    const xmlNode* entry = xml::firstElement(xmlDocGetRootElement(document.get()));
    for (; entry != nullptr; entry = xml::nextElement(entry)) {
        if (isNamed(entry, entryName) && xml::hasAttribute(entry, "label") &&
            xml::hasAttribute(entry, "path"))
            paths[textOf(entry, "label")] = textOf(entry, "path");
    }
    return codes::success;
}

long PathRegistry::save(const MORVAUString* newName) {
    if (newName != nullptr) fileName = *newName;
    if (fileName.isEmpty()) return codes::registryNoFileName;
    xml::Document document = xml::parseFile(fileName.getTerminatedBuffer(), xml::Blanks::dropped);
    if (document == nullptr) document = newDocument();
    if (const long result = checkRoot(document.get())) return result;

    xmlNode* root = xmlDocGetRootElement(document.get());
    for (xmlNode* entry = xml::firstElement(root); entry != nullptr;) {
        xmlNode* following = xml::nextElement(entry);
        if (isNamed(entry, entryName)) {
            xmlUnlinkNode(entry);
            xmlFreeNode(entry);
        }
        entry = following;
    }
    for (const auto& [label, path] : paths) {
        xmlNode* entry = xml::newChild(root, entryName);
        if (entry == nullptr) return codes::failed;
        xml::setAttribute(entry, "label", xml::utf8Of(label.getTerminatedBuffer()));
        xml::setAttribute(entry, "path", xml::utf8Of(path.getTerminatedBuffer()));
    }
    return xml::saveFile(document.get(), fileName.getTerminatedBuffer(), "UTF-8", true);
}

void PathRegistry::add(const MORVAUString& label, const MORVAUString& path) {
    paths[label] = path;
}

bool PathRegistry::remove(const MORVAUString& label) {
    return paths.erase(label) != 0;
}

bool PathRegistry::rename(const MORVAUString& oldLabel, const MORVAUString& newLabel) {
    auto entry = paths.extract(oldLabel);
    if (entry.empty()) return false;
    paths[newLabel] = entry.mapped();
    return true;
}

} // namespace SKAR::Project
