#include "support.h"

#include <skar/skario.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <unistd.h>
#include <vector>

// Pings and beams against two things that know nothing of the library, over the same bytes in the same run:
//
//   floor   the file through pread or write in blocks of 1 MiB, its words turned and scaled into arrays
//   stdio   unlocked stdio, one header or one beam at a time, its words turned
//
// SKAR_BENCH_PINGS sets the number of pings (20 000), each of 400 beams. Figures are ns per beam; of reads of
// random pings and of updates, ns per beam too.
namespace {

using namespace skarbench;

constexpr std::uint32_t beams = 400;
constexpr double firstTime = 1.4e9 + 16.0;
constexpr std::size_t randomReads = 200'000;
constexpr std::size_t randomPingReads = 2'000;

std::uint32_t pings() {
    static const std::uint32_t count = sizeFrom("SKAR_BENCH_PINGS", 20'000);
    return count;
}
std::uint64_t allBeams() {
    return std::uint64_t{pings()} * beams;
}

// Sizes and places in the files, in bytes.
struct Layout {
    const char* file;
    std::size_t head;
    std::size_t ping;
    std::size_t beam;

    std::size_t wholePing() const { return ping + beams * beam; }
    std::size_t pingAt(std::uint32_t number) const { return head + number * wholePing(); }
};
constexpr Layout observed{"ObservedDepths", 60, 20, 16};
constexpr Layout processed{"ProcessedDepths", 96, 40, 16};

double timeOf(std::uint32_t ping) {
    return firstTime + ping * 0.05;
}
double acrossOf(std::uint32_t beam) {
    return (beam - beams / 2.0) * 0.25;
}
double depthOf(std::uint32_t ping, std::uint32_t beam) {
    return 40.0 + (ping % 512) * 0.01 + (beam % 16) * 0.003;
}

void writeObserved(const ScratchLine& scratch) {
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = ObservedDepthsOpenDir(scratch.line().c_str(), L"create", &code);
    if (!sensor) std::abort();
    ObservedDepthsBgnSeqWriteSummary(sensor, 0);
    ObservedDepthsBgnSeqWriteLineSegment(sensor, L"raw.all");
    for (std::uint32_t ping = 0; ping < pings(); ++ping) {
        const double time = timeOf(ping);
        ObservedDepthsBgnSeqWriteProfile(sensor, beams, 1, time, 1.0, 0.2, 0);
        for (std::uint32_t beam = 0; beam < beams; ++beam) {
            if (ObservedDepthsSeqWrite(sensor, time + 0.01, acrossOf(beam), 0.5, depthOf(ping, beam), 0.0,
                                       0x10000))
                std::abort();
        }
        ObservedDepthsEndSeqWriteProfile(sensor);
    }
    ObservedDepthsEndSeqWriteLineSegment(sensor, 0);
    ObservedDepthsEndSeqWriteSummary(sensor, 0);
    if (ObservedDepthsClose(sensor)) std::abort();
}

void writeProcessed(const ScratchLine& scratch) {
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = ProcessedDepthsOpenDir(scratch.line().c_str(), L"create", &code);
    if (!sensor) std::abort();
    ProcessedDepthsBgnSeqWriteSummary(sensor, 0, 0);
    ProcessedDepthsBgnSeqWriteLineSegment(sensor, L"raw.all");
    for (std::uint32_t ping = 0; ping < pings(); ++ping) {
        const double time = timeOf(ping);
        const double latitude = 1.0 + ping * 1e-8;
        ProcessedDepthsBgnSeqWriteProfile(sensor, beams, 1, time, latitude, latitude - 1e-5, latitude + 1e-5,
                                          0.2, 0.2 - 1e-5, 0.2 + 1e-5, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        for (std::uint32_t beam = 0; beam < beams; ++beam) {
            if (ProcessedDepthsSeqWrite(sensor, time + 0.01, 0, 0, latitude + 1e-8,
                                        0.2 + acrossOf(beam) * 1e-7, depthOf(ping, beam), 0, 0x10000))
                std::abort();
        }
        ProcessedDepthsEndSeqWriteProfile(sensor);
    }
    ProcessedDepthsEndSeqWriteLineSegment(sensor, 0);
    ProcessedDepthsEndSeqWriteSummary(sensor, 0);
    if (ProcessedDepthsClose(sensor)) std::abort();
}

const ScratchLine& line() {
    static ScratchLine scratch;
    static const bool written = [] {
        writeApart([] {
            writeObserved(scratch);
            writeProcessed(scratch);
        });
        return true;
    }();
    (void)written;
    return scratch;
}

using Sensor = std::unique_ptr<_TELD_Sensor, int (*)(_TELD_Sensor*)>;

Sensor openObserved(const wchar_t* access = L"query") {
    std::uint32_t code = 0;
    Sensor sensor(ObservedDepthsOpenDir(line().line().c_str(), access, &code), ObservedDepthsClose);
    if (!sensor) std::abort();
    return sensor;
}

struct Number {
    std::uint32_t ping;
    std::uint32_t beam;
};

// A shuffled walk, the same for all; counted from 1.
const std::vector<Number>& randomNumbers() {
    static const std::vector<Number> numbers = [] {
        std::mt19937 generator(20260101);
        std::uniform_int_distribution<std::uint32_t> ping(1, pings());
        std::uniform_int_distribution<std::uint32_t> beam(1, beams);
        std::vector<Number> drawn(randomReads);
        for (Number& each : drawn)
            each = {ping(generator), beam(generator)};
        return drawn;
    }();
    return numbers;
}

double scaled(std::uint32_t word, double perUnit) {
    return static_cast<std::int32_t>(big(word)) / perUnit;
}
double offsetOf(std::uint32_t word) {
    return static_cast<std::int16_t>(big(word) & 0xFFFFU) / 1000.0;
}

// What is known of a beam, in arrays that the next block writes over.
struct Arrays {
    std::vector<double> time, first, second, third;
    std::vector<std::uint32_t> status;
    explicit Arrays(std::size_t size) : time(size), first(size), second(size), third(size), status(size) {}
    void keep() {
        benchmark::DoNotOptimize(time.data());
        benchmark::DoNotOptimize(first.data());
        benchmark::DoNotOptimize(second.data());
        benchmark::DoNotOptimize(third.data());
        benchmark::DoNotOptimize(status.data());
        benchmark::ClobberMemory();
    }
};

void floorReadOf(benchmark::State& state, const Layout& layout, std::array<double, 3> perUnit) {
    const std::string path = line().file(layout.file);
    const std::size_t pingsPerBlock = std::max<std::size_t>(1, blockSize / layout.wholePing());
    std::vector<std::uint32_t> block(pingsPerBlock * layout.wholePing() / 4);
    Arrays arrays(pingsPerBlock * beams);
    for (auto _ : state) {
        const int file = open(path.c_str(), O_RDONLY);
        auto at = static_cast<off_t>(layout.head);
        for (;;) {
            const ssize_t got = pread(file, block.data(), block.size() * 4, at);
            if (got < static_cast<ssize_t>(layout.wholePing())) break;
            const auto here = static_cast<std::size_t>(got) / layout.wholePing();
            std::size_t to = 0;
            for (std::size_t ping = 0; ping < here; ++ping) {
                const std::uint32_t* word = &block[ping * layout.wholePing() / 4];
                const double time = scaled(word[2], 1000.0) + firstTime;
                word += layout.ping / 4;
                for (std::uint32_t beam = 0; beam < beams; ++beam, ++to, word += 4) {
                    arrays.status[to] = big(word[0]) & 0xFFFF0000U;
                    arrays.time[to] = time + offsetOf(word[0]);
                    arrays.first[to] = scaled(word[1], perUnit[0]);
                    arrays.second[to] = scaled(word[2], perUnit[1]);
                    arrays.third[to] = scaled(word[3], perUnit[2]);
                }
            }
            arrays.keep();
            at += static_cast<off_t>(here * layout.wholePing());
        }
        close(file);
    }
    count(state, allBeams());
}

void floorRead(benchmark::State& state) {
    floorReadOf(state, observed, {1000.0, 1000.0, 1000.0});
}
void floorReadProcessed(benchmark::State& state) {
    floorReadOf(state, processed, {1000.0, 1e9, 1e9});
}

struct BeamWords {
    std::uint32_t words[4];
};

struct Beam {
    double time = 0, y = 0, x = 0, z = 0;
    std::uint32_t status = 0;

    void take(const BeamWords& raw, double pingTime) {
        status = big(raw.words[0]) & 0xFFFF0000U;
        time = pingTime + offsetOf(raw.words[0]);
        y = scaled(raw.words[1], 1000.0);
        x = scaled(raw.words[2], 1000.0);
        z = scaled(raw.words[3], 1000.0);
        benchmark::DoNotOptimize(*this);
    }
};

void stdioRead(benchmark::State& state) {
    const std::string path = line().file(observed.file);
    for (auto _ : state) {
        const File file(std::fopen(path.c_str(), "rb"));
        std::fseek(file.get(), static_cast<long>(observed.head), SEEK_SET);
        std::uint32_t head[5];
        BeamWords raw;
        Beam beam;
        for (std::uint32_t ping = 0; ping < pings(); ++ping) {
            if (fread_unlocked(head, sizeof head, 1, file.get()) != 1) std::abort();
            const double time = scaled(head[2], 1000.0) + firstTime;
            for (std::uint32_t i = 0; i < beams; ++i) {
                if (fread_unlocked(&raw, sizeof raw, 1, file.get()) != 1) std::abort();
                beam.take(raw, time);
            }
        }
    }
    count(state, allBeams());
}

// With the pings' places in an array of its own: the header for the time, then the beam.
void stdioReadRandomBeam(benchmark::State& state) {
    const File file(std::fopen(line().file(observed.file).c_str(), "rb"));
    std::vector<off_t> places(pings());
    for (std::uint32_t ping = 0; ping < pings(); ++ping)
        places[ping] = static_cast<off_t>(observed.pingAt(ping));
    for (auto _ : state) {
        std::uint32_t head[5];
        BeamWords raw;
        Beam beam;
        for (const Number& number : randomNumbers()) {
            const off_t place = places[number.ping - 1];
            fseeko(file.get(), place, SEEK_SET);
            if (fread_unlocked(head, sizeof head, 1, file.get()) != 1) std::abort();
            const auto ahead = static_cast<off_t>(observed.ping + (number.beam - 1) * observed.beam);
            fseeko(file.get(), place + ahead, SEEK_SET);
            if (fread_unlocked(&raw, sizeof raw, 1, file.get()) != 1) std::abort();
            beam.take(raw, scaled(head[2], 1000.0) + firstTime);
        }
    }
    count(state, randomNumbers().size());
}

void ReadInOrder(benchmark::State& state) {
    const Sensor sensor = openObserved();
    double time = 0, y = 0, x = 0, z = 0, extra = 0;
    std::uint32_t status = 0;
    for (auto _ : state) {
        for (std::uint32_t ping = 1; ping <= pings(); ++ping) {
            for (std::uint32_t beam = 1; beam <= beams; ++beam) {
                if (ObservedDepthsRead(sensor.get(), ping, beam, &time, &y, &x, &z, &extra, &status))
                    std::abort();
                benchmark::DoNotOptimize(z);
            }
        }
    }
    count(state, allBeams());
}

void ReadSeq(benchmark::State& state) {
    double time = 0, y = 0, x = 0, z = 0, extra = 0;
    std::uint32_t number = 0, start = 0, status = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Sensor sensor = openObserved();
        state.ResumeTiming();
        for (std::uint32_t ping = 0; ping < pings(); ++ping) {
            if (ObservedDepthsReadProfileSeq(sensor.get(), &number, &start, &time, &y, &x, &status))
                std::abort();
            for (std::uint32_t beam = 0; beam < number; ++beam) {
                if (ObservedDepthsReadSeq(sensor.get(), &time, &y, &x, &z, &extra, &status)) std::abort();
                benchmark::DoNotOptimize(z);
            }
        }
        state.PauseTiming();
        sensor.reset();
        state.ResumeTiming();
    }
    count(state, allBeams());
}

void ReadProfile(benchmark::State& state) {
    const Sensor sensor = openObserved();
    SKAR::IO::ObservedDepths::Profile profile;
    for (auto _ : state) {
        for (std::uint32_t ping = 1; ping <= pings(); ++ping) {
            SKAR::IO::ObservedDepths::ReadProfile(*sensor, static_cast<int>(ping), profile, true);
            benchmark::DoNotOptimize(profile.depths.data());
        }
    }
    count(state, allBeams());
}

void ReadProfiles(benchmark::State& state) {
    std::uint32_t code = 0;
    const Sensor sensor(ProcessedDepthsOpenDir(line().line().c_str(), L"query", &code), ProcessedDepthsClose);
    if (!sensor) std::abort();
    std::vector<SKAR::IO::ProcessedDepths::PD_Profile> profiles;
    constexpr int atOnce = 100;
    for (auto _ : state) {
        for (std::uint32_t ping = 1; ping <= pings(); ping += atOnce) {
            if (SKAR::IO::ProcessedDepths::ProcessedDepthsReadProfiles(sensor.get(), static_cast<int>(ping),
                                                                       atOnce, profiles))
                std::abort();
            benchmark::DoNotOptimize(profiles.data());
        }
    }
    count(state, allBeams());
}

void randomPing(benchmark::State& state) {
    const Sensor sensor = openObserved();
    SKAR::IO::ObservedDepths::Profile profile;
    for (auto _ : state) {
        for (std::size_t i = 0; i < randomPingReads; ++i) {
            const auto ping = static_cast<int>(randomNumbers()[i].ping);
            SKAR::IO::ObservedDepths::ReadProfile(*sensor, ping, profile, true);
            benchmark::DoNotOptimize(profile.depths.data());
        }
    }
    count(state, randomPingReads * beams);
}

void randomBeam(benchmark::State& state) {
    const Sensor sensor = openObserved();
    double time = 0, y = 0, x = 0, z = 0, extra = 0;
    std::uint32_t status = 0;
    for (auto _ : state) {
        for (const Number& number : randomNumbers()) {
            if (ObservedDepthsRead(sensor.get(), number.ping, number.beam, &time, &y, &x, &z, &extra,
                                   &status))
                std::abort();
            benchmark::DoNotOptimize(z);
        }
    }
    count(state, randomNumbers().size());
}

// The status word of a beam read and written back in its place, as any program would have to.
void floorUpdate(benchmark::State& state) {
    const int file = open(line().file(observed.file).c_str(), O_RDWR);
    std::uint32_t flip = 0;
    for (auto _ : state) {
        flip ^= 0x80000000U;
        for (const Number& number : randomNumbers()) {
            const auto place = static_cast<off_t>(observed.pingAt(number.ping - 1) + observed.ping +
                                                  (number.beam - 1) * observed.beam);
            std::uint32_t word = 0;
            if (pread(file, &word, sizeof word, place) != sizeof word) std::abort();
            word = big((big(word) & 0x7FFFFFFFU) | flip);
            if (pwrite(file, &word, sizeof word, place) != sizeof word) std::abort();
        }
    }
    close(file);
    count(state, randomNumbers().size());
}

void UpdateRejection(benchmark::State& state) {
    const Sensor sensor = openObserved(L"update");
    std::uint32_t flip = 0;
    for (auto _ : state) {
        flip ^= 0x80000000U;
        for (const Number& number : randomNumbers()) {
            if (ObservedDepthsUpdateRejectionStatus(sensor.get(), number.ping, number.beam, flip))
                std::abort();
        }
    }
    count(state, randomNumbers().size());
}

template <typename Write>
void timeWriting(benchmark::State& state, Write write) {
    for (auto _ : state) {
        state.PauseTiming();
        auto scratch = std::make_unique<ScratchLine>();
        state.ResumeTiming();
        write(*scratch);
        state.PauseTiming();
        scratch.reset();
        state.ResumeTiming();
    }
    count(state, allBeams());
}

// A beam of the writers that know no format.
BeamWords beamWords(std::uint32_t ping, std::uint32_t beam) {
    const auto millis = [](double value) {
        return big(
            static_cast<std::uint32_t>(static_cast<std::int32_t>(value * 1000.0 + (value < 0 ? -0.5 : 0.5))));
    };
    return {{big(0x10000U | 10U), millis(acrossOf(beam)), millis(0.5), millis(depthOf(ping, beam))}};
}

void stdioWrite(benchmark::State& state) {
    timeWriting(state, [](const ScratchLine& scratch) {
        const File file(std::fopen(scratch.file(observed.file).c_str(), "wb"));
        for (std::uint32_t ping = 0; ping < pings(); ++ping) {
            const std::uint32_t head[5] = {0, big(beams << 16U | 1U), big(ping * 50), big(10'000'000),
                                           big(2'000'000)};
            if (fwrite_unlocked(head, sizeof head, 1, file.get()) != 1) std::abort();
            for (std::uint32_t beam = 0; beam < beams; ++beam) {
                const BeamWords raw = beamWords(ping, beam);
                if (fwrite_unlocked(&raw, sizeof raw, 1, file.get()) != 1) std::abort();
            }
        }
    });
}

void floorWrite(benchmark::State& state) {
    std::vector<char> block(blockSize + observed.wholePing());
    timeWriting(state, [&](const ScratchLine& scratch) {
        const int file = open(scratch.file(observed.file).c_str(), O_WRONLY | O_CREAT, 0644);
        std::size_t used = 0;
        for (std::uint32_t ping = 0; ping < pings(); ++ping) {
            const std::uint32_t head[5] = {0, big(beams << 16U | 1U), big(ping * 50), big(10'000'000),
                                           big(2'000'000)};
            std::memcpy(block.data() + used, head, sizeof head);
            used += sizeof head;
            for (std::uint32_t beam = 0; beam < beams; ++beam) {
                const BeamWords raw = beamWords(ping, beam);
                std::memcpy(block.data() + used, &raw, sizeof raw);
                used += sizeof raw;
            }
            if (used >= blockSize || ping + 1 == pings()) {
                if (write(file, block.data(), used) < 0) std::abort();
                used = 0;
            }
        }
        close(file);
    });
}

void SeqWrite(benchmark::State& state) {
    timeWriting(state, writeObserved);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (SKARIO_Init(0) != 0) return 1;
    const auto add = [](const char* name, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark(name, run)->Unit(benchmark::kMillisecond)->MinTime(0.3);
    };
    add("floorRead", floorRead);
    add("stdioRead", stdioRead);
    add("ObservedDepthsRead_in_order", ReadInOrder);
    add("ReadProfileSeq_ReadSeq", ReadSeq);
    add("ReadProfile_with_depths", ReadProfile);
    add("floorReadProcessed", floorReadProcessed);
    add("ProcessedDepthsReadProfiles", ReadProfiles);
    add("ReadProfile_random", randomPing);
    add("stdioReadRandomBeam", stdioReadRandomBeam);
    add("ObservedDepthsRead_random", randomBeam);
    add("floorUpdate", floorUpdate);
    add("UpdateRejectionStatus_random", UpdateRejection);
    add("floorWrite", floorWrite);
    add("stdioWrite", stdioWrite);
    add("ObservedDepthsSeqWrite", SeqWrite);
    Keeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    keeper.table({{"floorRead", {}},
                  {"stdioRead", {"floorRead"}},
                  {"ObservedDepthsRead_in_order", {"stdioRead", "floorRead"}},
                  {"ReadProfileSeq_ReadSeq", {"stdioRead", "floorRead"}},
                  {"ReadProfile_with_depths", {"floorRead"}},
                  {"floorReadProcessed", {}},
                  {"ProcessedDepthsReadProfiles", {"floorReadProcessed"}},
                  {"ReadProfile_random", {"floorRead"}},
                  {"stdioReadRandomBeam", {}},
                  {"ObservedDepthsRead_random", {"stdioReadRandomBeam"}},
                  {"floorUpdate", {}},
                  {"UpdateRejectionStatus_random", {"floorUpdate"}},
                  {"floorWrite", {}},
                  {"stdioWrite", {"floorWrite"}},
                  {"ObservedDepthsSeqWrite", {"stdioWrite", "floorWrite"}}});
    benchmark::Shutdown();
    return 0;
}
