#include "vessel/entryfactory.h"
#include "xml/nodes.h"

#include <skar/codes.h>
#include <skar/vessel.h>

#include <libxml/tree.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace codes = skar::codes;
using Entry = MORVAType<SKARVesselSensorConfig>;

SKARVesselSensorList::SKARVesselSensorList() = default;
SKARVesselSensorList::~SKARVesselSensorList() = default;

const std::vector<SKARVesselSensorList::Place>& SKARVesselSensorList::places() const {
    if (!inOrderStands) {
        inOrder.clear();
        inOrder.reserve(entries.count());
        for (const Entry& entry : entries) {
            inOrder.push_back({entry->getTimeStamp(), entry.get()});
        }
        inOrderStands = true;
    }
    return inOrder;
}

const SKARVesselSensorConfig* SKARVesselSensorList::getConfig(double time, long& status) const {
    status = 0;
    const std::vector<Place>& all = places();
    if (all.empty()) return nullptr;
    const auto later = std::upper_bound(
        all.begin(), all.end(), time, [](double wanted, const Place& place) { return wanted < place.time; });
    if (later != all.begin()) return std::prev(later)->entry;
    status = codes::vesselTooEarly;
    return nullptr;
}

const SKARVesselSensorConfig* SKARVesselSensorList::getFirstConfig() const {
    return entries.isEmpty() ? nullptr : entries.head()->get();
}

const SKARVesselSensorConfig* SKARVesselSensorList::getLastConfig() const {
    return entries.isEmpty() ? nullptr : entries.last()->get();
}

const SKARVesselSensorConfig* SKARVesselSensorList::getNextConfig(const SKARVesselSensorConfig* entry) const {
    if (entry == nullptr) return nullptr;
    const std::vector<Place>& all = places();
    // Callers go from one entry to the next, so the one that is asked about is mostly the last answer.
    if (walked >= all.size() || all[walked].entry != entry) {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [entry](const Place& place) { return place.entry == entry; });
        walked = static_cast<std::size_t>(found - all.begin());
    }
    return walked + 1 < all.size() ? all[++walked].entry : nullptr;
}

long SKARVesselSensorList::add(Entry& entry) {
    if (entry.isNull()) return codes::vesselNullEntry;
    const double time = entry->getTimeStamp();
    if (entries.isEmpty() || getLastConfig()->getTimeStamp() < time) {
        const SKARVesselSensorConfig* last = entries.append(std::move(entry)).get();
        if (inOrderStands) inOrder.push_back({time, last});
        return 0;
    }
    for (const Entry& each : entries) {
        if (each->getTimeStamp() == time) return codes::vesselSameTime;
        if (each->getTimeStamp() > time) break;
    }
    entries.insertBefore([time](const Entry& each) { return each->getTimeStamp() > time; }, std::move(entry));
    inOrderStands = false;
    return 0;
}

long SKARVesselSensorList::remove(double time) {
    const std::size_t removed =
        entries.removeIf([time](const Entry& each) { return each->getTimeStamp() == time; });
    inOrderStands = false;
    return removed > 0 ? 0 : codes::vesselEntryMissing;
}

long SKARVesselSensorList::updateTimeStamp(const SKARVesselSensorConfig* entry, double newTime) {
    if (entry == nullptr) return -1;
    for (Entry& each : entries) {
        if (each->getTimeStamp() != entry->getTimeStamp()) continue;
        Entry taken(each);
        entries.removeIf([](const Entry& left) { return left.isNull(); });
        inOrderStands = false;
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
    std::vector<Entry> loaded;
    long result = 0;
    for (xmlNode* each = skar::xml::firstElement(listElement); each != nullptr && result == 0;
         each = skar::xml::nextElement(each)) {
        Entry entry(skar::vessel::vesselEntryFactory(kind.c_str()));
        if (entry.isNull()) return 0;
        result = entry->load(each);
        if (result == 0) loaded.push_back(std::move(entry));
    }
    // A file whose entries stand in any order is to load as fast as one in order. Of entries at the same time
    // the first stays.
    std::stable_sort(loaded.begin(), loaded.end(), [](const Entry& left, const Entry& right) {
        return left->getTimeStamp() < right->getTimeStamp();
    });
    for (Entry& entry : loaded) {
        static_cast<void>(add(entry));
    }
    if (result == 0 && !entries.isEmpty()) element = listElement;
    return result;
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
