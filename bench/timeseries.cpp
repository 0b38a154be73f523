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
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// The simple sensors against two things that know nothing of the format, over the same bytes in the same run:
//
//   floor   the file through pread or write in blocks of 1 MiB, its words turned and scaled into arrays
//   stdio   unlocked stdio, one record at a time, its words turned
//
// SKAR_BENCH_RECORDS sets the number of records (10 million). Figures are ns per record.
namespace {

using namespace skarbench;

constexpr std::size_t headSize = 48;
constexpr std::size_t recordSize = 12;
constexpr double firstTime = 1.0e9;

std::uint32_t records() {
    static const std::uint32_t count = sizeFrom("SKAR_BENCH_RECORDS", 10'000'000);
    return count;
}

double timeOf(std::uint32_t i) {
    return firstTime + i * 0.01;
}
double valueOf(std::uint32_t i) {
    return static_cast<double>(i % 6283) * 1e-3;
}

void writeLine(const ScratchLine& scratch) {
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = GyroOpenDir(scratch.line().c_str(), L"create", &code);
    if (!sensor) std::abort();
    GyroBgnSeqWriteSummary(sensor);
    GyroBgnSeqWriteLineSegment(sensor, L"raw.all");
    for (std::uint32_t i = 0; i < records(); ++i)
        if (GyroSeqWrite(sensor, timeOf(i), valueOf(i), 0)) std::abort();
    GyroEndSeqWriteLineSegment(sensor, 0);
    GyroEndSeqWriteSummary(sensor, 0);
    if (GyroClose(sensor)) std::abort();
}

const ScratchLine& line() {
    static ScratchLine scratch;
    static const bool written = [] {
        writeApart([] { writeLine(scratch); });
        return true;
    }();
    (void)written;
    return scratch;
}

struct CloseSensor {
    void operator()(_TELD_Sensor* sensor) const { GyroClose(sensor); }
};
std::unique_ptr<_TELD_Sensor, CloseSensor> openLine() {
    std::uint32_t code = 0;
    std::unique_ptr<_TELD_Sensor, CloseSensor> sensor(GyroOpenDir(line().line().c_str(), L"query", &code));
    if (!sensor) std::abort();
    return sensor;
}

// A shuffled walk over a part of the records, the same for all.
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

void floorRead(benchmark::State& state) {
    const std::string path = line().file("Gyro");
    std::vector<std::uint32_t> block(blockSize / recordSize * 3);
    std::vector<double> times(block.size() / 3);
    std::vector<double> values(block.size() / 3);
    std::vector<std::uint32_t> statuses(block.size() / 3);
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY);
        off_t at = headSize;
        for (;;) {
            const ssize_t got = pread(file, block.data(), block.size() * 4, at);
            if (got < static_cast<ssize_t>(recordSize)) break;
            const auto here = static_cast<std::size_t>(got) / recordSize;
            for (std::size_t i = 0; i < here; ++i) {
                statuses[i] = big(block[3 * i]);
                times[i] = static_cast<std::int32_t>(big(block[3 * i + 1])) / 1000.0 + 60.0;
                values[i] = static_cast<std::int32_t>(big(block[3 * i + 2])) / 1e7;
            }
            benchmark::DoNotOptimize(times.data());
            benchmark::DoNotOptimize(values.data());
            benchmark::DoNotOptimize(statuses.data());
            benchmark::ClobberMemory();
            at += static_cast<off_t>(here * recordSize);
        }
        close(file);
    }
    count(state, records());
}

struct StdioRecord {
    std::uint32_t words[3];
};

void takeRecord(const StdioRecord& raw, double& time, double& value, std::uint32_t& status) {
    status = big(raw.words[0]);
    time = static_cast<std::int32_t>(big(raw.words[1])) / 1000.0 + 60.0;
    value = static_cast<std::int32_t>(big(raw.words[2])) / 1e7;
}

void stdioRead(benchmark::State& state) {
    const std::string path = line().file("Gyro");
    for (auto _ : state) {
        const File file(std::fopen(path.c_str(), "rb"));
        std::fseek(file.get(), headSize, SEEK_SET);
        StdioRecord raw;
        double time = 0, value = 0;
        std::uint32_t status = 0;
        for (std::uint32_t i = 0; i < records(); ++i) {
            if (fread_unlocked(&raw, recordSize, 1, file.get()) != 1) std::abort();
            takeRecord(raw, time, value, status);
            benchmark::DoNotOptimize(time);
            benchmark::DoNotOptimize(value);
            benchmark::DoNotOptimize(status);
        }
    }
    count(state, records());
}

// With an index of its own, one flat array of offsets.
void stdioReadRandom(benchmark::State& state) {
    const File file(std::fopen(line().file("Gyro").c_str(), "rb"));
    std::vector<std::int64_t> offsets(records());
    for (std::size_t i = 0; i < offsets.size(); ++i)
        offsets[i] = static_cast<std::int64_t>(headSize + i * recordSize);
    for (auto _ : state) {
        StdioRecord raw;
        double time = 0, value = 0;
        std::uint32_t status = 0;
        for (const std::uint32_t number : randomNumbers()) {
            fseeko(file.get(), offsets[number - 1], SEEK_SET);
            if (fread_unlocked(&raw, recordSize, 1, file.get()) != 1) std::abort();
            takeRecord(raw, time, value, status);
            benchmark::DoNotOptimize(time);
            benchmark::DoNotOptimize(value);
            benchmark::DoNotOptimize(status);
        }
    }
    count(state, randomNumbers().size());
}

void GyroReadSeq(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto sensor = openLine();
        double time = 0, value = 0;
        std::uint32_t status = 0;
        state.ResumeTiming();
        for (std::uint32_t i = 0; i < records(); ++i) {
            if (::GyroReadSeq(sensor.get(), &time, &value, &status)) std::abort();
            benchmark::DoNotOptimize(time);
            benchmark::DoNotOptimize(value);
        }
        state.PauseTiming();
        sensor.reset();
        state.ResumeTiming();
    }
    count(state, records());
}

void GyroReadInOrder(benchmark::State& state) {
    const auto sensor = openLine();
    for (auto _ : state) {
        double time = 0, value = 0;
        std::uint32_t status = 0;
        for (std::uint32_t i = 1; i <= records(); ++i) {
            if (GyroRead(sensor.get(), i, &time, &value, &status)) std::abort();
            benchmark::DoNotOptimize(time);
            benchmark::DoNotOptimize(value);
        }
    }
    count(state, records());
}

void GyroReadRandom(benchmark::State& state) {
    const auto sensor = openLine();
    for (auto _ : state) {
        double time = 0, value = 0;
        std::uint32_t status = 0;
        for (const std::uint32_t number : randomNumbers()) {
            if (GyroRead(sensor.get(), number, &time, &value, &status)) std::abort();
            benchmark::DoNotOptimize(time);
            benchmark::DoNotOptimize(value);
        }
    }
    count(state, randomNumbers().size());
}

void indexLookup(benchmark::State& state) {
    const auto sensor = openLine();
    for (auto _ : state) {
        std::int32_t offset = 0;
        for (const std::uint32_t number : randomNumbers()) {
            TmIdxMapIndexToByteOffset(sensor.get(), number, &offset);
            benchmark::DoNotOptimize(offset);
        }
    }
    count(state, randomNumbers().size());
}

void GyroSeqWriteAll(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        writeLine(*scratch);
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, records());
}

// The data file alone; the library's figure has the index in it.
void stdioWrite(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        File file(std::fopen(scratch->file("Gyro").c_str(), "wb"));
        for (std::uint32_t i = 0; i < records(); ++i) {
            const auto time = static_cast<std::int32_t>(std::lround((timeOf(i) - firstTime) * 1000.0));
            const auto value = static_cast<std::int32_t>(std::lround(valueOf(i) * 1e7));
            const StdioRecord raw{
                {0, big(static_cast<std::uint32_t>(time)), big(static_cast<std::uint32_t>(value))}};
            if (fwrite_unlocked(&raw, recordSize, 1, file.get()) != 1) std::abort();
        }
        file.reset();
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, records());
}

void floorWrite(benchmark::State& state) {
    std::vector<std::uint32_t> block(blockSize / recordSize * 3);
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        const int file = open(scratch->file("Gyro").c_str(), O_WRONLY | O_CREAT, 0644);
        std::size_t used = 0;
        for (std::uint32_t i = 0; i < records(); ++i) {
            block[used++] = 0;
            block[used++] = big(i * 10);
            block[used++] = big(i % 6283 * 10000);
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

void openAndClose(benchmark::State& state) {
    line();
    for (auto _ : state)
        openLine();
    count(state, records());
}

void floorReadIndex(benchmark::State& state) {
    const std::string path = line().file("GyroTmIdx");
    std::vector<char> block(blockSize);
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY);
        for (off_t at = 0;;) {
            const ssize_t got = pread(file, block.data(), block.size(), at);
            if (got <= 0) break;
            benchmark::DoNotOptimize(block.data());
            benchmark::ClobberMemory();
            at += got;
        }
        close(file);
    }
    count(state, records());
}

// What an open cannot do without: the file in memory of its own, in large pages.
void readIndexIntoMemory(benchmark::State& state) {
    const std::string path = line().file("GyroTmIdx");
    const std::size_t size = std::filesystem::file_size(path);
    constexpr std::size_t largePage = std::size_t{2} << 20;
    const std::size_t rounded = (size + largePage - 1) / largePage * largePage;
    for (auto _ : state) {
        auto* memory = static_cast<char*>(std::aligned_alloc(largePage, rounded));
        madvise(memory, rounded, MADV_HUGEPAGE);
        const int file = open(path.c_str(), O_RDONLY);
        std::size_t at = 0;
        for (;;) {
            const ssize_t got = pread(file, memory + at, blockSize, static_cast<off_t>(at));
            if (got <= 0) break;
            at += static_cast<std::size_t>(got);
        }
        close(file);
        benchmark::DoNotOptimize(memory);
        std::free(memory);
    }
    count(state, records());
}

void openHandleMemory() {
    line();
    const double before = residentBytes();
    const auto sensor = openLine();
    double time = 0, value = 0;
    std::uint32_t status = 0;
    for (std::uint32_t i = 1; i <= std::min(records(), 100'000u); ++i)
        GyroRead(sensor.get(), i, &time, &value, &status);
    const double grown = residentBytes() - before;
    const auto index = static_cast<double>(std::filesystem::file_size(line().file("GyroTmIdx")));
    std::printf("\nopen handle: %.1f MiB resident for an index file of %.1f MiB (%.2f x)\n",
                grown / blockSize, index / blockSize, grown / index);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (SKARIO_Init(0) != 0) return 1;
    openHandleMemory();
    const auto add = [](const char* name, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->MinTime(0.3);
    };
    add("floorRead", floorRead);
    add("stdioRead", stdioRead);
    add("GyroRead_in_order", GyroReadInOrder);
    add("stdioReadRandom", stdioReadRandom);
    add("GyroRead_random", GyroReadRandom);
    add("indexLookup", indexLookup);
    add("floorReadIndex", floorReadIndex);
    add("readIndexIntoMemory", readIndexIntoMemory);
    add("open", openAndClose);
    add("GyroReadSeq", GyroReadSeq);
    add("floorWrite", floorWrite);
    add("stdioWrite", stdioWrite);
    add("GyroSeqWrite", GyroSeqWriteAll);
    Keeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    keeper.table({{"floorRead", {}},
                  {"stdioRead", {"floorRead"}},
                  {"GyroRead_in_order", {"stdioRead", "floorRead"}},
                  {"GyroReadSeq", {"stdioRead", "floorRead"}},
                  {"stdioReadRandom", {}},
                  {"GyroRead_random", {"stdioReadRandom"}},
                  {"indexLookup", {}},
                  {"floorReadIndex", {}},
                  {"readIndexIntoMemory", {"floorReadIndex"}},
                  {"open", {"readIndexIntoMemory", "floorReadIndex"}},
                  {"floorWrite", {}},
                  {"stdioWrite", {"floorWrite"}},
                  {"GyroSeqWrite", {"stdioWrite", "floorWrite"}}});
    benchmark::Shutdown();
    return 0;
}
