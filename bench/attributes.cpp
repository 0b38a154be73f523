#include "support.h"

#include <skar/skario.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <random>
#include <unistd.h>
#include <vector>

// Files that describe themselves against two things that know nothing of the format, over the same bytes in
// the same run:
//
//   floor   the file through pread or write in blocks of 1 MiB, its words turned into arrays
//   stdio   unlocked stdio, one record at a time, its words turned
//
// The one kind of file has six floats in a record, the other is the index of a raw file with an integer of 64
// bits, three of 32 and a double. SKAR_BENCH_RECORDS sets the number of records (5 million). Figures are ns
// per record.
namespace {

using namespace skarbench;
using SKARIOAttributes::dataValue;

constexpr double firstTime = 1.0e9;

std::uint32_t records() {
    static const std::uint32_t count = sizeFrom("SKAR_BENCH_RECORDS", 5'000'000);
    return count;
}

std::unique_ptr<SKARDataFile> opened(std::unique_ptr<SKARDataFile> file, long status) {
    if (status != 0) std::abort();
    return file;
}

double timeOf(std::uint32_t i) {
    return firstTime + i * 0.1;
}
float figureOf(std::uint32_t i, std::uint32_t column) {
    return static_cast<float>(i % 1000 + column) * 0.001F;
}

// A kind of file: how it is written by the library, and what a record is for who writes and reads it by hand.
// What a writer does before the first record is no part of the writing.
struct Figures {
    static constexpr const char* name = "RMS";
    static constexpr std::size_t words = 9;

    static std::unique_ptr<SKARDataFile> open(const ScratchLine& line) {
        long status = 0;
        auto file = std::make_unique<SKARRmsFile>(line.line().c_str(), L"", SKARDataFile::query, status);
        return opened(std::move(file), status);
    }
    static std::unique_ptr<SKARRmsFile> created(const ScratchLine& line) {
        long status = 0;
        return std::make_unique<SKARRmsFile>(line.line().c_str(), L"raw.all", SKARDataFile::create, status);
    }
    static void write(SKARRmsFile& file) {
        std::vector<dataValue> values(6);
        for (std::uint32_t i = 0; i < records(); ++i) {
            for (std::uint32_t column = 0; column < 6; ++column)
                values[column].float32 = figureOf(i, column);
            if (file.WriteRecord(timeOf(i), 0, values, {})) std::abort();
        }
    }
    static void encode(std::uint32_t i, std::uint32_t* to) {
        to[0] = big(words * 4);
        to[1] = 0;
        to[2] = big(static_cast<std::uint32_t>(std::lround((timeOf(i) - firstTime) * 1000.0)));
        for (std::uint32_t column = 0; column < 6; ++column)
            to[3 + column] = big(std::bit_cast<std::uint32_t>(figureOf(i, column)));
    }
    struct Record {
        double time;
        std::uint32_t status;
        float figures[6];
    };
    static void decode(const std::uint32_t* from, Record& to) {
        to.status = big(from[1]);
        to.time = static_cast<std::int32_t>(big(from[2])) / 1000.0 + 60.0;
        for (std::uint32_t column = 0; column < 6; ++column)
            to.figures[column] = std::bit_cast<float>(big(from[3 + column]));
    }
};

struct Index {
    static constexpr const char* name = "RawDataIndex";
    static constexpr std::size_t words = 10;

    static std::unique_ptr<SKARDataFile> open(const ScratchLine& line) {
        long status = 0;
        auto file = std::make_unique<SKARRawDataIndex>(line.line().c_str(), L"", SKARDataFile::query, status,
                                                       L"RawDataIndex");
        return opened(std::move(file), status);
    }
    static std::unique_ptr<SKARRawDataIndex> created(const ScratchLine& line) {
        long status = 0;
        auto file = std::make_unique<SKARRawDataIndex>(line.line().c_str(), L"raw.all", SKARDataFile::create,
                                                       status, L"RawDataIndex");
        for (std::uint32_t i = 0; i < records(); ++i)
            file->addRawDataIndexArray(static_cast<int>(i % 20), std::int64_t{i} * 700, 700, timeOf(i));
        return file;
    }
    static void write(SKARRawDataIndex& file) {
        if (file.writeRawDataIndex(SKARRawDataIndex::rawDataKongsbergAll)) std::abort();
    }
    static void encode(std::uint32_t i, std::uint32_t* to) {
        const std::uint64_t offset = std::uint64_t{i} * 700;
        const auto time = std::bit_cast<std::uint64_t>(timeOf(i));
        const std::uint32_t values[words] = {words * 4,
                                             0,
                                             0,
                                             i % 20,
                                             static_cast<std::uint32_t>(offset),
                                             static_cast<std::uint32_t>(offset >> 32),
                                             700,
                                             0xFFFFFFFF,
                                             static_cast<std::uint32_t>(time),
                                             static_cast<std::uint32_t>(time >> 32)};
        for (std::size_t k = 0; k < words; ++k)
            to[k] = big(values[k]);
    }
    struct Record {
        std::uint32_t status;
        std::uint32_t type;
        std::uint64_t offset;
        std::uint32_t length;
        std::uint32_t profile;
        double time;
    };
    static void decode(const std::uint32_t* from, Record& to) {
        to.status = big(from[1]);
        to.type = big(from[3]);
        to.offset = std::uint64_t{big(from[5])} << 32 | big(from[4]);
        to.length = big(from[6]);
        to.profile = big(from[7]);
        to.time = std::bit_cast<double>(std::uint64_t{big(from[9])} << 32 | big(from[8]));
    }
};

template <class Kind>
const ScratchLine& line() {
    static ScratchLine scratch;
    static const bool written = [] {
        writeApart([] {
            auto file = Kind::created(scratch);
            Kind::write(*file);
        });
        return true;
    }();
    static_cast<void>(written);
    return scratch;
}

template <class Kind>
std::string dataPath() {
    return line<Kind>().file(Kind::name);
}

// Where the first record stands.
template <class Kind>
std::size_t firstRecord() {
    const File file(std::fopen(dataPath<Kind>().c_str(), "rb"));
    std::uint32_t head[5];
    if (std::fread(head, sizeof head, 1, file.get()) != 1) std::abort();
    return 16 + big(head[4]);
}

const std::vector<std::uint32_t>& randomNumbers() {
    static const std::vector<std::uint32_t> numbers = [] {
        std::mt19937 generator(20260101);
        std::uniform_int_distribution<std::uint32_t> number(1, records());
        std::vector<std::uint32_t> drawn(200'000);
        for (auto& each : drawn)
            each = number(generator);
        return drawn;
    }();
    return numbers;
}

template <class Kind>
void floorRead(benchmark::State& state) {
    const std::string path = dataPath<Kind>();
    const std::size_t start = firstRecord<Kind>();
    constexpr std::size_t recordSize = Kind::words * 4;
    std::vector<std::uint32_t> block(blockSize / recordSize * Kind::words);
    std::vector<typename Kind::Record> taken(block.size() / Kind::words);
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY);
        auto at = static_cast<off_t>(start);
        for (;;) {
            const ssize_t got = pread(file, block.data(), block.size() * 4, at);
            if (got < static_cast<ssize_t>(recordSize)) break;
            const auto here = static_cast<std::size_t>(got) / recordSize;
            for (std::size_t i = 0; i < here; ++i)
                Kind::decode(block.data() + i * Kind::words, taken[i]);
            benchmark::DoNotOptimize(taken.data());
            benchmark::ClobberMemory();
            at += static_cast<off_t>(here * recordSize);
        }
        close(file);
    }
    count(state, records());
}

template <class Kind>
void stdioRead(benchmark::State& state) {
    const std::string path = dataPath<Kind>();
    const auto start = static_cast<long>(firstRecord<Kind>());
    for (auto _ : state) {
        const File file(std::fopen(path.c_str(), "rb"));
        std::fseek(file.get(), start, SEEK_SET);
        std::uint32_t raw[Kind::words];
        typename Kind::Record record;
        for (std::uint32_t i = 0; i < records(); ++i) {
            if (fread_unlocked(raw, sizeof raw, 1, file.get()) != 1) std::abort();
            Kind::decode(raw, record);
            benchmark::DoNotOptimize(record);
        }
    }
    count(state, records());
}

// With an index of its own, one flat array of offsets.
template <class Kind>
void stdioReadRandom(benchmark::State& state) {
    const File file(std::fopen(dataPath<Kind>().c_str(), "rb"));
    const std::size_t start = firstRecord<Kind>();
    std::vector<std::int64_t> offsets(records());
    for (std::size_t i = 0; i < offsets.size(); ++i)
        offsets[i] = static_cast<std::int64_t>(start + i * Kind::words * 4);
    for (auto _ : state) {
        std::uint32_t raw[Kind::words];
        typename Kind::Record record;
        for (const std::uint32_t number : randomNumbers()) {
            fseeko(file.get(), offsets[number - 1], SEEK_SET);
            if (fread_unlocked(raw, sizeof raw, 1, file.get()) != 1) std::abort();
            Kind::decode(raw, record);
            benchmark::DoNotOptimize(record);
        }
    }
    count(state, randomNumbers().size());
}

void readOne(SKARDataFile& file, std::vector<dataValue>& values, int number) {
    double time = 0;
    unsigned status = 0;
    if (file.ReadRecord(time, status, values, number)) std::abort();
    benchmark::DoNotOptimize(time);
    benchmark::DoNotOptimize(status);
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
}

template <class Kind>
void readInOrder(benchmark::State& state) {
    const auto file = Kind::open(line<Kind>());
    std::vector<dataValue> values;
    for (auto _ : state) {
        for (std::uint32_t i = 1; i <= records(); ++i)
            readOne(*file, values, static_cast<int>(i));
    }
    count(state, records());
}

template <class Kind>
void readRandom(benchmark::State& state) {
    const auto file = Kind::open(line<Kind>());
    std::vector<dataValue> values;
    for (auto _ : state) {
        for (const std::uint32_t number : randomNumbers())
            readOne(*file, values, static_cast<int>(number));
    }
    count(state, randomNumbers().size());
}

template <class Kind>
void writeAll(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        auto file = Kind::created(*scratch);
        state.ResumeTiming();
        Kind::write(*file);
        file.reset();
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, records());
}

// The data file alone; the library's figure has the index of the records in it.
template <class Kind>
void stdioWrite(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        File file(std::fopen(scratch->file(Kind::name).c_str(), "wb"));
        std::uint32_t raw[Kind::words];
        for (std::uint32_t i = 0; i < records(); ++i) {
            Kind::encode(i, raw);
            if (fwrite_unlocked(raw, sizeof raw, 1, file.get()) != 1) std::abort();
        }
        file.reset();
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, records());
}

template <class Kind>
void floorWrite(benchmark::State& state) {
    std::vector<std::uint32_t> block(blockSize / 4 / Kind::words * Kind::words);
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        const int file = open(scratch->file(Kind::name).c_str(), O_WRONLY | O_CREAT, 0644);
        std::size_t used = 0;
        for (std::uint32_t i = 0; i < records(); ++i) {
            Kind::encode(i, block.data() + used);
            used += Kind::words;
            if (used == block.size() || i + 1 == records()) {
                if (write(file, block.data(), used * 4) < 0) std::abort();
                used = 0;
            }
        }
        close(file);
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, records());
}

template <class Kind>
void openFileMemory() {
    line<Kind>();
    const double before = residentBytes();
    const auto file = Kind::open(line<Kind>());
    std::vector<dataValue> values;
    for (std::uint32_t i = 1; i <= std::min(records(), 100'000u); ++i)
        readOne(*file, values, static_cast<int>(i));
    const double grown = residentBytes() - before;
    const auto index = static_cast<double>(std::filesystem::file_size(dataPath<Kind>() + "TmIdx"));
    std::printf("open %s: %.1f MiB resident for an index file of %.1f MiB (%.2f x)\n", Kind::name,
                grown / blockSize, index / blockSize, grown / index);
}

template <class Kind>
void add(std::vector<skarbench::Keeper::Row>& rows) {
    const auto one = [&](const char* what, void (*run)(benchmark::State&),
                         const std::vector<const char*>& against) {
        const auto named = [](const char* each) { return std::string(Kind::name) + "_" + each; };
        benchmark::RegisterBenchmark(named(what).c_str(), run)
            ->Unit(benchmark::kMillisecond)
            ->MinTime(0.3)
            ->UseRealTime();
        skarbench::Keeper::Row row{named(what), {}};
        for (const char* each : against)
            row.against.push_back(named(each));
        rows.push_back(row);
    };
    one("floorRead", floorRead<Kind>, {});
    one("stdioRead", stdioRead<Kind>, {"floorRead"});
    one("ReadRecord_in_order", readInOrder<Kind>, {"stdioRead", "floorRead"});
    one("stdioReadRandom", stdioReadRandom<Kind>, {});
    one("ReadRecord_random", readRandom<Kind>, {"stdioReadRandom"});
    one("floorWrite", floorWrite<Kind>, {});
    one("stdioWrite", stdioWrite<Kind>, {"floorWrite"});
    one("WriteRecord", writeAll<Kind>, {"stdioWrite", "floorWrite"});
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (SKARIO_Init(0) != 0) return 1;
    openFileMemory<Figures>();
    openFileMemory<Index>();
    std::vector<skarbench::Keeper::Row> rows;
    add<Figures>(rows);
    add<Index>(rows);
    skarbench::Keeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    keeper.table(rows);
    benchmark::Shutdown();
    return 0;
}
