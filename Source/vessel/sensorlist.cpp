#include "vessel/entryfactory.h"
#include "xml/nodes.h"

#include <skar/codes.h>
#include <skar/vessel.h>

#include <libxml/tree.h>

#include <utility>

namespace codes = skar::codes;
using Entry = MORVAType<SKARVesselSensorConfig>;

SKARVesselSensorList::SKARVesselSensorList() = default;
SKARVesselSensorList::~SKARVesselSensorList() = default;

const SKARVesselSensorConfig* SKARVesselSensorList::getConfig(double time, long& status) const {
    status = 0;
    const SKARVesselSensorConfig* before = nullptr;
    for (const Entry& entry : entries) {
        if (entry->getTimeStamp() == time) return entry.get();
        if (entry->getTimeStamp() > time) {
            if (before == nullptr) status = codes::vesselTooEarly;
            return before;
        }
        before = entry.get();
    }
    return before;
}

const SKARVesselSensorConfig* SKARVesselSensorList::getFirstConfig() const {
    return entries.isEmpty() ? nullptr : entries.head()->get();
}

const SKARVesselSensorConfig* SKARVesselSensorList::getLastConfig() const {
    return entries.isEmpty() ? nullptr : entries.last()->get();
}

const SKARVesselSensorConfig* SKARVesselSensorList::getNextConfig(const SKARVesselSensorConfig* entry) const {
    if (entry == nullptr) return nullptr;
    bool found = false;
    for (const Entry& each : entries) {
        if (found) return each.get();
        found = each.get() == entry;
    }
    return nullptr;
}

long SKARVesselSensorList::add(Entry& entry) {
    if (entry.isNull()) return codes::vesselNullEntry;
    const double time = entry->getTimeStamp();
    if (!entries.isEmpty() && getLastConfig()->getTimeStamp() < time) {
        entries.append(std::move(entry));
        return 0;
    }
    for (const Entry& each : entries) {
        if (each->getTimeStamp() == time) return codes::vesselSameTime;
        if (each->getTimeStamp() > time) break;
    }
    entries.insertBefore([time](const Entry& each) { return each->getTimeStamp() > time; }, std::move(entry));
    return 0;
}

long SKARVesselSensorList::remove(double time) {
    const std::size_t removed =
        entries.removeIf([time](const Entry& each) { return each->getTimeStamp() == time; });
    return removed > 0 ? 0 : codes::vesselEntryMissing;
}

long SKARVesselSensorList::updateTimeStamp(const SKARVesselSensorConfig* entry, double newTime) {
    if (entry == nullptr) return -1;
    for (Entry& each : entries) {
        if (each->getTimeStamp() != entry->getTimeStamp()) continue;
        Entry taken(each);
        entries.removeIf([](const Entry& left) { return left.isNull(); });
        taken->setTimeStamp(newTime);
        // Where another entry has that time, this one goes.
        static_cast<void>(add(taken));
        return 0;
    }
    return codes::vesselEntryMissing;
}

long SKARVesselSensorList::load(xmlNode* listElement) {
    const std::wstring kind = listElement == nullptr
                                  ? std::wstring()
                                  : skar::xml::wideOf(reinterpret_cast<const char*>(listElement->name));
    for (xmlNode* each = skar::xml::firstElement(listElement); each != nullptr;
         each = skar::xml::nextElement(each)) {
        Entry entry(skar::vessel::vesselEntryFactory(kind.c_str()));
        if (entry.isNull()) return 0;
        if (const long result = entry->load(each); result != 0) return result;
        // Of entries at the same time the first stays.
        static_cast<void>(add(entry));
    }
    if (!entries.isEmpty()) element = listElement;
    return 0;
}

long SKARVesselSensorList::store(xmlNode* root) {
    if (entries.isEmpty()) return 0;
    if (root == nullptr) return codes::vesselXmlNode;
    if (element == nullptr || element->parent != root) {
        // An element whose name differs in case is of no kind that could be loaded again.
        const std::string kind = skar::xml::utf8Of(getFirstConfig()->getName());
        element = skar::xml::firstElement(root);
        while (element != nullptr && kind != reinterpret_cast<const char*>(element->name)) {
            element = skar::xml::nextElement(element);
        }
        if (element == nullptr) element = skar::xml::newChild(root, kind.c_str());
        if (element == nullptr) return codes::vesselXmlNode;
    }
    for (const Entry& each : entries) {
        if (const long result = each->store(element); result != 0) return result;
    }
    return 0;
}
