#include "support.h"

#include <skar/skario.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// The towed side scan against two things that know nothing of its format, over the same bytes in the same
// run:
//
//   floor   the file through pread or write in blocks of 1 MiB, the words of the heads turned; a status in
//   its
//           place by one pread and one pwrite of the head
//   stdio   unlocked stdio, a head and two arrays at a time, the words of the head turned
//
// SKAR_BENCH_PINGS sets the number of pings (20,000), each of two times 4000 samples of two bytes. Figures
// are ns per ping.
namespace {

using namespace skarbench;

constexpr std::size_t headWords = 17;
constexpr std::size_t headSize = 4 * headWords;
constexpr std::size_t samplesPerSide = 4000;
constexpr std::size_t sideSize = 2 * samplesPerSide;
constexpr std::size_t pingSize = headSize + 2 * sideSize;
constexpr std::size_t firstPing = 44;
constexpr double firstTime = 1.0e9;
constexpr std::uint32_t twoBytes = 0x40000000;

std::uint32_t pings() {
    static const std::uint32_t count = sizeFrom("SKAR_BENCH_PINGS", 20'000);
    return count;
}

double timeOf(std::uint32_t i) {
    return firstTime + i * 0.1;
}

const std::vector<std::uint16_t>& samples() {
    static const std::vector<std::uint16_t> made = [] {
        std::vector<std::uint16_t> each(samplesPerSide);
        for (std::size_t i = 0; i < each.size(); ++i)
            each[i] = static_cast<std::uint16_t>(i * 16807);
        return each;
    }();
    return made;
}

struct CloseSensor {
    void operator()(_TELD_Sensor* sensor) const { SSSClose(sensor); }
};
using Sensor = std::unique_ptr<_TELD_Sensor, CloseSensor>;
Sensor openSensor(const ScratchLine& scratch, const wchar_t* token) {
    long code = 0;
    Sensor sensor(SSSOpenDir(scratch.line().c_str(), token, &code));
    if (!sensor) std::abort();
    return sensor;
}

void writeLine(const ScratchLine& scratch, std::uint32_t count) {
    Sensor sensor = openSensor(scratch, L"create");
    SSSBgnSeqWriteSummary(sensor.get());
    SSSBgnSeqWriteLineSegment(sensor.get(), L"raw.xtf");
    constexpr auto side = static_cast<std::uint32_t>(samplesPerSide);
    for (std::uint32_t i = 0; i < count; ++i)
        if (SSSWriteProfile(sensor.get(), twoBytes, timeOf(i), 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, side,
                            side, samples().data(), samples().data(), 13, 14, 15, 16, 17, 18, 19, 0, 0,
                            nullptr, nullptr))
            std::abort();
    SSSEndSeqWriteLineSegment(sensor.get(), 0);
    SSSEndSeqWriteSummary(sensor.get(), 1, 0);
    if (SSSClose(sensor.release())) std::abort();
}

const ScratchLine& line() {
    static ScratchLine scratch;
    static const bool written = (writeApart([] { writeLine(scratch, pings()); }), true);
    static_cast<void>(written);
    return scratch;
}

using Head = std::array<std::uint32_t, headWords>;
void turn(Head& head) {
    for (std::uint32_t& word : head)
        word = big(word);
    benchmark::DoNotOptimize(head);
}

void floorRead(benchmark::State& state) {
    const std::string path = line().file("SSSSideScan");
    std::vector<char> block(blockSize);
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY);
        off_t at = 0;
        std::size_t next = firstPing; // of a head, from the begin of the block
        for (;;) {
            const ssize_t got = pread(file, block.data(), block.size(), at);
            if (got <= 0) break;
            const auto here = static_cast<std::size_t>(got);
            for (; next + headSize <= here; next += pingSize) {
                Head head;
                std::memcpy(head.data(), block.data() + next, headSize);
                turn(head);
            }
            benchmark::DoNotOptimize(block.data());
            benchmark::ClobberMemory();
            const std::size_t taken = here < blockSize ? here : std::min(next, here);
            next -= taken;
            at += static_cast<off_t>(taken);
        }
        close(file);
    }
    count(state, pings());
}

void stdioRead(benchmark::State& state) {
    const std::string path = line().file("SSSSideScan");
    std::vector<std::uint16_t> port(samplesPerSide), starboard(samplesPerSide);
    for (auto _ : state) {
        const File file(std::fopen(path.c_str(), "rb"));
        std::fseek(file.get(), firstPing, SEEK_SET);
        for (std::uint32_t i = 0; i < pings(); ++i) {
            Head head;
            if (fread_unlocked(head.data(), headSize, 1, file.get()) != 1) std::abort();
            turn(head);
            if (fread_unlocked(port.data(), 2, head[10] >> 16, file.get()) != samplesPerSide ||
                fread_unlocked(starboard.data(), 2, head[10] & 0xFFFF, file.get()) != samplesPerSide)
                std::abort();
            benchmark::DoNotOptimize(port.data());
            benchmark::ClobberMemory();
        }
    }
    count(state, pings());
}

template <class Place>
int readPing(_TELD_Sensor* sensor, std::uint32_t number, Place port, Place starboard) {
    std::uint32_t status = 0, portCount = 0, starboardCount = 0;
    double time = 0;
    int code = 0;
    if constexpr (std::is_same_v<Place, void**>)
        code = SSSReadProfile(sensor, number, &status, &time, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &portCount,
                              &starboardCount, port, starboard, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    else
        code = SSSReadProfile2(sensor, number, &status, &time, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &portCount,
                               &starboardCount, port, starboard, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    benchmark::DoNotOptimize(time);
    benchmark::ClobberMemory();
    return code;
}

void readProfile(benchmark::State& state) {
    const Sensor sensor = openSensor(line(), L"query");
    for (auto _ : state) {
        void* port = nullptr;
        void* starboard = nullptr;
        for (std::uint32_t i = 1; i <= pings(); ++i) {
            if (readPing(sensor.get(), i, &port, &starboard)) std::abort();
            benchmark::DoNotOptimize(port);
        }
    }
    count(state, pings());
}

void readProfile2(benchmark::State& state) {
    const Sensor sensor = openSensor(line(), L"query");
    std::vector<std::uint16_t> port(samplesPerSide), starboard(samplesPerSide);
    for (auto _ : state) {
        for (std::uint32_t i = 1; i <= pings(); ++i)
            if (readPing<void*>(sensor.get(), i, port.data(), starboard.data())) std::abort();
    }
    count(state, pings());
}

void libraryWrite(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        writeLine(*scratch, pings());
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, pings());
}

Head headOf(std::uint32_t i) {
    Head head;
    for (std::uint32_t word = 0; word < headWords; ++word)
        head[word] = big(word);
    head[0] = big(twoBytes);
    head[1] = big(i * 100);
    head[10] = big(static_cast<std::uint32_t>(samplesPerSide << 16 | samplesPerSide));
    return head;
}

// The data file alone; the library's figure has the index in it.
void stdioWrite(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        File file(std::fopen(scratch->file("SSSSideScan").c_str(), "wb"));
        for (std::uint32_t i = 0; i < pings(); ++i) {
            const Head head = headOf(i);
            if (fwrite_unlocked(head.data(), headSize, 1, file.get()) != 1 ||
                fwrite_unlocked(samples().data(), sideSize, 1, file.get()) != 1 ||
                fwrite_unlocked(samples().data(), sideSize, 1, file.get()) != 1)
                std::abort();
        }
        file.reset();
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, pings());
}

void floorWrite(benchmark::State& state) {
    std::vector<char> block(blockSize);
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        const int file = open(scratch->file("SSSSideScan").c_str(), O_WRONLY | O_CREAT, 0644);
        std::size_t used = 0;
        for (std::uint32_t i = 0; i < pings(); ++i) {
            if (used + pingSize > blockSize || i + 1 == pings()) {
                if (write(file, block.data(), used) < 0) std::abort();
                used = 0;
            }
            const Head head = headOf(i);
            std::memcpy(block.data() + used, head.data(), headSize);
            std::memcpy(block.data() + used + headSize, samples().data(), sideSize);
            std::memcpy(block.data() + used + headSize + sideSize, samples().data(), sideSize);
            used += pingSize;
        }
        if (write(file, block.data(), used) < 0) std::abort();
        close(file);
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, pings());
}

void updateStatus(benchmark::State& state) {
    const Sensor sensor = openSensor(line(), L"update");
    for (auto _ : state)
        for (std::uint32_t i = 1; i <= pings(); ++i)
            if (SSSUpdateStatus(sensor.get(), i, twoBytes | 1)) std::abort();
    count(state, pings());
}

off_t offsetOf(std::uint32_t i) {
    return static_cast<off_t>(firstPing + i * pingSize);
}

void stdioUpdate(benchmark::State& state) {
    const File file(std::fopen(line().file("SSSSideScan").c_str(), "rb+"));
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < pings(); ++i) {
            Head head;
            fseeko(file.get(), offsetOf(i), SEEK_SET);
            if (fread_unlocked(head.data(), headSize, 1, file.get()) != 1) std::abort();
            head[0] = big(twoBytes | 1);
            fseeko(file.get(), offsetOf(i), SEEK_SET);
            if (fwrite_unlocked(head.data(), headSize, 1, file.get()) != 1) std::abort();
        }
        std::fflush(file.get());
    }
    count(state, pings());
}

void floorUpdate(benchmark::State& state) {
    const int file = open(line().file("SSSSideScan").c_str(), O_RDWR);
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < pings(); ++i) {
            Head head;
            if (pread(file, head.data(), headSize, offsetOf(i)) < 0) std::abort();
            head[0] = big(twoBytes | 1);
            if (pwrite(file, head.data(), headSize, offsetOf(i)) < 0) std::abort();
        }
    }
    close(file);
    count(state, pings());
}

// The most resident memory of a process that reads a line of so many pings, in MiB.
double peakOfReading(std::uint32_t number) {
    const ScratchLine scratch;
    writeApart([&] { writeLine(scratch, number); });
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t reader = fork();
    if (reader == 0) {
        const Sensor sensor = openSensor(scratch, L"query");
        void* port = nullptr;
        void* starboard = nullptr;
        for (std::uint32_t i = 1; i <= number; ++i)
            if (readPing(sensor.get(), i, &port, &starboard)) _exit(1);
        const File status(std::fopen("/proc/self/statm", "r"));
        long size = 0, resident = 0;
        if (std::fscanf(status.get(), "%ld %ld", &size, &resident) != 2) _exit(1);
        const double mebibytes =
            static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / blockSize;
        _exit(write(ends[1], &mebibytes, sizeof mebibytes) == sizeof mebibytes ? 0 : 1);
    }
    int status = 1;
    double mebibytes = 0;
    if (waitpid(reader, &status, 0) != reader || status != 0 ||
        read(ends[0], &mebibytes, sizeof mebibytes) != sizeof mebibytes)
        std::abort();
    close(ends[0]);
    close(ends[1]);
    return mebibytes;
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (SKARIO_Init(0) != 0) return 1;
    std::printf("\nreading a line: %.1f MiB resident after %u pings, %.1f MiB after %u\n",
                peakOfReading(pings() / 10), pings() / 10, peakOfReading(pings()), pings());
    const auto add = [](const char* name, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->MinTime(0.3)->UseRealTime();
    };
    add("floorRead", floorRead);
    add("stdioRead", stdioRead);
    add("SSSReadProfile", readProfile);
    add("SSSReadProfile2", readProfile2);
    add("floorUpdate", floorUpdate);
    add("stdioUpdate", stdioUpdate);
    add("SSSUpdateStatus", updateStatus);
    add("floorWrite", floorWrite);
    add("stdioWrite", stdioWrite);
    add("SSSWriteProfile", libraryWrite);
    skarbench::Keeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    keeper.table({{"floorRead", {}},
                  {"stdioRead", {"floorRead"}},
                  {"SSSReadProfile", {"stdioRead", "floorRead"}},
                  {"SSSReadProfile2", {"stdioRead", "floorRead"}},
                  {"floorUpdate", {}},
                  {"stdioUpdate", {"floorUpdate"}},
                  {"SSSUpdateStatus", {"stdioUpdate", "floorUpdate"}},
                  {"floorWrite", {}},
                  {"stdioWrite", {"floorWrite"}},
                  {"SSSWriteProfile", {"stdioWrite", "floorWrite"}}});
    benchmark::Shutdown();
    return 0;
}
