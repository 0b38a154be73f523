#include "vessel/legacy/tree.h"

#include <cstdlib>

namespace skar::vessel::legacy {
namespace {

void release(const EquipmentTexts& texts) {
    std::free(texts.manufacturer);
    std::free(texts.model);
    std::free(texts.serialNumber);
}

void releaseOwn(const DepthEntry& entry) {
    release(entry.equipment);
    std::free(entry.sensorClass);
    std::free(entry.beamDisabled);
    std::free(entry.sweepBeamOffsetX);
    std::free(entry.sweepBeamOffsetY);
    std::free(entry.sweepBeamOffsetZ);
}

void releaseOwn(const AngleEntry& entry) {
    release(entry.equipment);
}

void releaseOwn(const HeaveEntry& entry) {
    release(entry.equipment);
}

void releaseOwn(const NavigationEntry& entry) {
    release(entry.equipment);
    std::free(entry.ellipse);
}

void releaseOwn(const DraftEntry& entry) {
    std::free(entry.vesselSpeed);
    std::free(entry.vesselDraft);
}

void releaseOwn(const SoundVelocityEntry&) {}

void releaseOwn(const WaterlineEntry&) {}

void releaseOwn(const TowedEntry& entry) {
    release(entry.equipment);
}

template <class Entry>
void releaseList(Entry* entry) {
    while (entry != nullptr) {
        Entry* const next = entry->next;
        releaseOwn(*entry);
        std::free(entry->remarks.comment);
        std::free(entry->remarks.authorization);
        std::free(entry);
        entry = next;
    }
}

void releaseTree(_vesselConfig* tree) {
    if (tree == nullptr) return;
    releaseList(tree->depth);
    releaseList(tree->gyro);
    releaseList(tree->heave);
    releaseList(tree->navigation);
    releaseList(tree->pitch);
    releaseList(tree->roll);
    releaseList(tree->draft);
    releaseList(tree->soundVelocity);
    releaseList(tree->waterline);
    releaseList(tree->towed);
    std::free(tree);
}

} // namespace

Tree ownTree(_vesselConfig* tree) {
    return Tree(tree, releaseTree);
}

} // namespace skar::vessel::legacy
