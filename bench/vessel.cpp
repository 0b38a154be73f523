#include "support.h"

#include <skar/skario.h>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

// A vessel with a list of each of the 17 kinds against libxml2 alone over the same file in the same run:
// parsing it into a tree, writing such a tree. Figures are ns per entry. Then the entry in force at a random
// time, by the length of the list, in ns per look-up. SKAR_BENCH_ENTRIES sets the entries of a list (1000),
// SKAR_BENCH_LOOKUPS the look-ups (a million).
namespace {

using namespace skarbench;

constexpr double firstTime = 1.0e9;
constexpr double step = 3600.0;

std::uint32_t entries() {
    static const std::uint32_t count = sizeFrom("SKAR_BENCH_ENTRIES", 1000);
    return count;
}

std::uint32_t lookups() {
    static const std::uint32_t count = sizeFrom("SKAR_BENCH_LOOKUPS", 1'000'000);
    return count;
}

template <class Kind, class... Arguments>
std::unique_ptr<Kind> make(double time, Arguments... arguments) {
    long status = 0;
    return std::make_unique<Kind>(time, arguments..., status);
}

template <class Kind>
void place(SKARVessel& vessel, std::unique_ptr<Kind> entry) {
    entry->setComment(L"survey of the approaches");
    MORVAType<SKARVesselSensorConfig> handle(std::move(entry));
    if (vessel.addSensor(handle) != 0) std::abort();
}

template <class Kind>
void placeEquipped(SKARVessel& vessel, double time) {
    auto entry = make<Kind>(time);
    entry->setManufacturer(L"maker");
    entry->setModel(L"model");
    entry->setSerialNumber(L"12345");
    place(vessel, std::move(entry));
}

void fill(SKARVessel& vessel, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const double time = firstTime + i * step;
        placeEquipped<SKARNavConfig>(vessel, time);
        placeEquipped<SKARSideScanNavConfig>(vessel, time);
        placeEquipped<SKARHeaveConfig>(vessel, time);
        placeEquipped<SKARSideScanHeaveConfig>(vessel, time);
        placeEquipped<SKARPitchConfig>(vessel, time);
        placeEquipped<SKARSideScanPitchConfig>(vessel, time);
        placeEquipped<SKARRollConfig>(vessel, time);
        placeEquipped<SKARSideScanRollConfig>(vessel, time);
        placeEquipped<SKARSideScanConfig>(vessel, time);
        placeEquipped<SKARTowedSSSConfig>(vessel, time);
        placeEquipped<SKARGyroConfig>(vessel, time);
        placeEquipped<SKARSideScanGyroConfig>(vessel, time);
        place(vessel, make<SKARSVPConfig>(time));
        place(vessel, make<SKARWaterlineHeight>(time));
        place(vessel, make<SKARTPEConfig>(time));
        auto draft = make<SKARDraftConfig>(time);
        for (int row = 0; row < 4; ++row)
            draft->setDraft(row * 2.5, row * 0.1);
        place(vessel, std::move(draft));
        auto depth = make<SKARDepthConfig>(time, L"Swath");
        depth->addTransducer(SKARTransducerConfig(1, 1, false));
        depth->addTransducer(SKARTransducerConfig(2, 129, false));
        place(vessel, std::move(depth));
    }
}

std::uint64_t allEntries() {
    return std::uint64_t{17} * entries();
}

const std::wstring& vesselFile() {
    static const ScratchLine scratch;
    static const std::wstring name = [] {
        const std::wstring made = scratch.line() + L"/bench.skv";
        SKARVessel vessel;
        fill(vessel, entries());
        vessel.setFileName(made.c_str(), false);
        if (vessel.store() != 0) std::abort();
        return made;
    }();
    return name;
}

std::string narrow(const std::wstring& path) {
    return std::filesystem::path(path).string();
}

struct FreeDocument {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, FreeDocument>;

Document parsed() {
    Document document(
        xmlReadFile(narrow(vesselFile()).c_str(), nullptr, XML_PARSE_NOBLANKS | XML_PARSE_NONET));
    if (document == nullptr) std::abort();
    return document;
}

void parse(benchmark::State& state) {
    vesselFile();
    for (auto _ : state)
        benchmark::DoNotOptimize(parsed().get());
    count(state, allEntries());
}

void load(benchmark::State& state) {
    vesselFile();
    for (auto _ : state) {
        long status = 0;
        const SKARVessel vessel(vesselFile().c_str(), status);
        if (status != 0 || vessel.getSensors().count() != 17) std::abort();
    }
    count(state, allEntries());
}

void dump(benchmark::State& state) {
    const Document document = parsed();
    const std::string target = narrow(vesselFile()) + ".dump";
    for (auto _ : state)
        if (xmlSaveFormatFile(target.c_str(), document.get(), 1) < 0) std::abort();
    count(state, allEntries());
}

// Every value is written anew into the tree, then the tree as a whole. Of the side scan's gyro a store adds
// rows, so the vessel here has none.
void store(benchmark::State& state) {
    long status = 0;
    SKARVessel vessel(vesselFile().c_str(), status);
    vessel.setFileName((vesselFile() + L".store.skv").c_str(), false);
    for (auto _ : state)
        if (vessel.store() != 0) std::abort();
    count(state, allEntries());
}

void lookUp(benchmark::State& state) {
    const auto length = static_cast<std::uint32_t>(state.range(0));
    SKARVessel vessel;
    for (std::uint32_t i = 0; i < length; ++i)
        placeEquipped<SKARGyroConfig>(vessel, firstTime + i * step);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> within(firstTime, firstTime + length * step);
    std::vector<double> times(lookups());
    for (double& time : times)
        time = within(random);
    for (auto _ : state) {
        for (const double time : times) {
            long status = 0;
            const SKARVesselSensorConfig* entry = vessel.getSensor(typeid(SKARGyroConfig), time, status);
            if (entry == nullptr || entry->getTimeStamp() > time) std::abort();
        }
    }
    count(state, times.size());
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (SKARIO_Init(0) != 0) return 1;
    std::printf("file of %u entries a list: %.1f MiB\n", entries(),
                static_cast<double>(std::filesystem::file_size(vesselFile())) / blockSize);
    const auto add = [](const char* name, void (*run)(benchmark::State&)) {
        return benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->MinTime(0.5);
    };
    add("libxml2_parse", parse);
    add("SKARVessel_load", load);
    add("libxml2_save", dump);
    add("SKARVessel_store", store);
    std::vector<Keeper::Row> rows = {{"libxml2_parse", {}},
                                     {"SKARVessel_load", {"libxml2_parse"}},
                                     {"libxml2_save", {}},
                                     {"SKARVessel_store", {"libxml2_save"}}};
    // Named one by one, since the table goes by the name of a function.
    for (const int length : {10, 100, 1000, 10000, 100000}) {
        const std::string name = "getSensor_of_" + std::to_string(length);
        add(name.c_str(), lookUp)->Arg(length);
        rows.push_back({name, {"getSensor_of_10"}});
    }
    Keeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    keeper.table(rows);
    benchmark::Shutdown();
    return 0;
}
