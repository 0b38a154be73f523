#include "vessel/fields.h"
#include "xml/nodes.h"

#include <skar/codes.h>
#include <skar/paths.h>
#include <skar/vessel.h>
#include <skar/vesselimport.h>

#include <libxml/parser.h>

#include <cwchar>
#include <iterator>
#include <utility>

namespace codes = skar::codes;
using List = MORVAType<SKARVesselSensorList>;

namespace {

constexpr const char* rootName = "SKARVesselConfig";

// Null handles are what a copy of the vessel has left behind.
const SKARVesselSensorConfig* firstOf(const List& list) {
    return list.isNull() ? nullptr : list->getFirstConfig();
}

bool isOf(const SKARVesselSensorConfig& entry, const wchar_t* name) {
    return std::wcscmp(entry.getName(), name) == 0;
}

bool isOf(const SKARVesselSensorConfig& entry, const std::type_info& type) {
    return typeid(entry) == type;
}

bool isNamed(const xmlNode* node, const char* name) {
    return xmlStrcasecmp(node->name, reinterpret_cast<const xmlChar*>(name)) == 0;
}

// With the dot; empty if there is none behind the last separator.
std::wstring extensionOf(const std::wstring& name) {
    const std::size_t separator = name.find_last_of(L"\\/:");
    const std::size_t dot = name.rfind(L'.');
    const bool none = dot == std::wstring::npos || (separator != std::wstring::npos && dot < separator);
    return none ? std::wstring() : name.substr(dot);
}

bool copyDeclarations(const xmlDoc& from, xmlDoc& to) {
    if (from.intSubset == nullptr) return true;
    xmlDtd* copy = xmlCopyDtd(from.intSubset);
    if (copy == nullptr) return false;
    to.intSubset = copy;
    xmlAddChild(reinterpret_cast<xmlNode*>(&to), reinterpret_cast<xmlNode*>(copy));
    return true;
}

} // namespace

SKARVesselMetaData::SKARVesselMetaData() = default;
SKARVesselMetaData::~SKARVesselMetaData() = default;
long SKARVesselMetaData::load(xmlNode*) {
    return 0;
}
long SKARVesselMetaData::store(xmlNode*) {
    return 0;
}

SKARVesselEditHistory::SKARVesselEditHistory() = default;
SKARVesselEditHistory::~SKARVesselEditHistory() = default;
long SKARVesselEditHistory::load(xmlNode*) {
    return 0;
}
long SKARVesselEditHistory::store(xmlNode*) {
    return 0;
}

SKARVessel::SKARVessel() = default;
SKARVessel::~SKARVessel() = default;

SKARVessel::SKARVessel(const wchar_t* name, long& status) {
    status = setFileName(name, false);
    if (status == 0) status = read();
}

SKARVessel::SKARVessel(const SKARVessel& source)
    : fileName(source.fileName), metaData(source.metaData), editHistory(source.editHistory),
      shape(source.shape), forgotten(source.forgotten), document(source.document), version(source.version),
      modified(source.modified) {
    for (List& list : source.sensors) {
        sensors.append(List(list));
    }
}

long SKARVessel::setFileName(const wchar_t* name, bool forget) {
    if (forget && document != nullptr) forgotten.push_back(std::move(document));
    if (name == nullptr) return codes::vesselNoFileName;
    // The name may be the one that is held.
    std::wstring given(name);
    if (!skar::vessel::equalsIgnoringCase(extensionOf(given).c_str(), getDefaultExtension())) {
        given += getDefaultExtension();
    }
    fileName = std::move(given);
    return 0;
}

void SKARVessel::setVesselShape(SKARVesselShape& newer) {
    shape = newer;
}

long SKARVessel::reload() {
    return read();
}

long SKARVessel::read() {
    sensors.clear();
    document.reset();
    forgotten.clear();
    if (!fileName) return codes::vesselNoFileName;
    xmlKeepBlanksDefault(0);
    MORVAUString resolved(fileName->c_str());
    // A name that leads nowhere is found out by the parser.
    static_cast<void>(SKARIOUtils::resolveVesselName(resolved));
    document = skar::xml::parseFile(resolved.toWide().c_str(), skar::xml::Blanks::dropped);
    if (document == nullptr) return readVersion1(resolved.toWide());
    return readRoot();
}

// The text form has no extension, and its import names the vessel after what it read. A text that stands
// under the name of a vessel file is found when there is none without the extension.
long SKARVessel::readVersion1(const std::wstring& name) {
    std::optional<std::wstring> kept = fileName;
    std::wstring plain = name;
    const std::wstring extension = extensionOf(name);
    if (skar::vessel::equalsIgnoringCase(extension.c_str(), getDefaultExtension())) {
        plain.resize(name.size() - extension.size());
    }
    long result = SKARVesselImport(plain.c_str(), this);
    if (result == codes::vesselImportUnreadable && plain != name) {
        result = SKARVesselImport(name.c_str(), this);
    }
    fileName = std::move(kept);
    if (result == 0) modified = false;
    return result;
}

long SKARVessel::readRoot() {
    xmlNode* root = xmlDocGetRootElement(document.get());
    const std::optional<std::string> versionText = skar::xml::attribute(root, "Version");
    if (root == nullptr || !isNamed(root, rootName) || !versionText) {
        document.reset();
        return codes::notAVesselFile;
    }
    version = static_cast<float>(skar::xml::numberOf(*versionText));
    for (xmlNode* each = skar::xml::firstElement(root); each != nullptr;
         each = skar::xml::nextElement(each)) {
        if (isNamed(each, "EditHistory")) {
            static_cast<void>(editHistory.load(each));
        } else if (isNamed(each, "MetaData")) {
            static_cast<void>(metaData.load(each));
        } else if (isNamed(each, "VesselShape")) {
            static_cast<void>(shape.load(each));
        } else {
            auto list = std::make_unique<SKARVesselSensorList>();
            if (const long result = list->load(each); result != 0) return result;
            if (!list->empty()) insertList(List(std::move(list)));
        }
    }
    modified = false;
    return 0;
}

// Of two lists of a kind the first stays.
void SKARVessel::insertList(List&& list) {
    const std::wstring name = firstOf(list)->getName();
    if (findSensorList(name.c_str()) != nullptr) return;
    sensors.insertBefore(
        [&name](const List& each) { return firstOf(each) != nullptr && name < firstOf(each)->getName(); },
        std::move(list));
}

long SKARVessel::store() {
    if (document == nullptr) {
        skar::xml::Document made(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
        if (made == nullptr) return codes::vesselXmlNode;
        // What the entries bring along may name entities that the document before declares.
        if (!forgotten.empty() && !copyDeclarations(*forgotten.back(), *made)) return codes::vesselXmlNode;
        xmlNode* first =
            xmlNewDocNode(made.get(), nullptr, reinterpret_cast<const xmlChar*>(rootName), nullptr);
        if (first == nullptr) return codes::vesselXmlNode;
        xmlDocSetRootElement(made.get(), first);
        document = std::move(made);
    }
    xmlNode* root = xmlDocGetRootElement(document.get());
    skar::xml::setAttribute(root, "Version", "2.0");
    if (const long result = metaData.store(root); result != 0) return result;
    if (const long result = shape.store(root); result != 0) return result;
    for (const List& list : sensors) {
        // One list that cannot be stored does not keep the others out of the file.
        if (!list.isNull()) static_cast<void>(list->store(root));
    }
    if (const long result = editHistory.store(root); result != 0) return result;
    if (!fileName || skar::xml::saveFile(document.get(), fileName->c_str(), nullptr, true) == -1) return -1;
    modified = true;
    return 0;
}

template <class Kind>
SKARVesselSensorList* SKARVessel::findSensorList(const Kind& kind) const {
    for (const List& list : sensors) {
        const SKARVesselSensorConfig* first = firstOf(list);
        if (first != nullptr && isOf(*first, kind)) return list.get();
    }
    return nullptr;
}

const SKARVesselSensorConfig* SKARVessel::getSensor(const wchar_t* name, double time, long& status) const {
    const SKARVesselSensorList* list = name == nullptr ? nullptr : findSensorList(name);
    status = codes::vesselNoSuchSensor;
    return list == nullptr ? nullptr : list->getConfig(time, status);
}

const SKARVesselSensorConfig* SKARVessel::getSensor(const std::type_info& type, double time,
                                                    long& status) const {
    const SKARVesselSensorList* list = findSensorList(type);
    status = codes::vesselNoSuchSensor;
    return list == nullptr ? nullptr : list->getConfig(time, status);
}

const SKARVesselSensorConfig* SKARVessel::getFirstSensor(const wchar_t* name, long& status) const {
    status = 0;
    const SKARVesselSensorList* list = name == nullptr ? nullptr : findSensorList(name);
    return list == nullptr ? nullptr : list->getFirstConfig();
}

const SKARVesselSensorConfig* SKARVessel::getFirstSensor(const std::type_info& type, long& status) const {
    status = 0;
    const SKARVesselSensorList* list = findSensorList(type);
    return list == nullptr ? nullptr : list->getFirstConfig();
}

const SKARVesselSensorConfig* SKARVessel::getLastSensor(const wchar_t* name, long& status) const {
    status = 0;
    const SKARVesselSensorList* list = name == nullptr ? nullptr : findSensorList(name);
    return list == nullptr ? nullptr : list->getLastConfig();
}

const SKARVesselSensorConfig* SKARVessel::getLastSensor(const std::type_info& type, long& status) const {
    status = 0;
    const SKARVesselSensorList* list = findSensorList(type);
    return list == nullptr ? nullptr : list->getLastConfig();
}

const SKARVesselSensorList* SKARVessel::getSensorList(const std::type_info& type) const {
    return findSensorList(type);
}

long SKARVessel::addSensor(MORVAType<SKARVesselSensorConfig>& entry) {
    if (entry.isNull()) return 0;
    if (SKARVesselSensorList* list = findSensorList(entry->getName())) {
        if (const long result = list->add(entry); result != 0) return result;
    } else {
        auto made = std::make_unique<SKARVesselSensorList>();
        if (const long result = made->add(entry); result != 0) return result;
        insertList(List(std::move(made)));
    }
    modified = true;
    return 0;
}

template <class Kind>
long SKARVessel::removeFrom(double time, const Kind& kind) {
    SKARVesselSensorList* list = findSensorList(kind);
    if (list == nullptr) return codes::vesselNoSuchSensor;
    if (list->getCount() > 1) {
        if (const long result = list->remove(time); result != 0) return result;
        modified = true;
        return 0;
    }
    // An empty list has no kind any more, so the list of a last entry is removed as a whole.
    if (list->getFirstConfig()->getTimeStamp() != time) return codes::vesselEntryMissing;
    modified = true;
    return removeList(kind);
}

long SKARVessel::removeSensor(double time, const wchar_t* name) {
    return name == nullptr ? codes::vesselNoSuchSensor : removeFrom(time, name);
}

long SKARVessel::removeSensor(double time, const std::type_info& type) {
    return removeFrom(time, type);
}

// Empty lists met on the way go as well. Their places are counted before anything is removed, and each
// removal moves what lies behind it, so of several the later ones take the list that has moved into the
// place.
template <class Kind>
long SKARVessel::removeList(const Kind& kind) {
    std::vector<std::size_t> places;
    std::size_t place = 0;
    for (const List& list : sensors) {
        const SKARVesselSensorConfig* first = firstOf(list);
        if (first == nullptr) {
            places.insert(places.begin(), place);
        } else if (isOf(*first, kind)) {
            places.push_back(place);
            break;
        }
        ++place;
    }
    for (const std::size_t gone : places) {
        std::size_t at = 0;
        sensors.removeIf([&at, gone](const List&) { return at++ == gone; });
    }
    return places.empty() ? -1 : 0;
}

long SKARVessel::removeAllSensors(const wchar_t* name) {
    if (name != nullptr) return removeList(name);
    sensors.clear();
    return 0;
}

long SKARVessel::removeAllSensors(const std::type_info& type) {
    return removeList(type);
}
