#include "support.h"

#include <skar/interpolation.h>
#include <skar/soundvelocity.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Sound velocity files in their four formats against two loops that know nothing of them:
//
//   strtod    the file read whole, and every number of it through strtod
//   fprintf   lines of the same numbers through fprintf, with the format's own conversion
//
// SKAR_BENCH_CASTS sets the number of casts of 500 values (10,000); the two formats that hold one cast hold
// all values in it. Figures are ns per value. The curve takes SKAR_BENCH_POINTS points (10 million), against
// a vector of them and straight lines between.
namespace {

using namespace skarbench;

constexpr std::uint32_t valuesPerCast = 500;

std::uint32_t casts() {
    static const std::uint32_t number = sizeFrom("SKAR_BENCH_CASTS", 10'000);
    return number;
}
std::uint32_t values() {
    return casts() * valuesPerCast;
}
std::uint32_t points() {
    static const std::uint32_t number = sizeFrom("SKAR_BENCH_POINTS", 10'000'000);
    return number;
}

double depthOf(std::uint32_t i) {
    return (i + 1) * 0.25;
}
double speedOf(std::uint32_t i) {
    return 1480.0 + i % 4000 * 0.01;
}

// A format: the text around its values, and what fprintf writes of one.
struct Native {
    using File = SkarSvpFile;
    static constexpr const char* name = "native.svp";
    static constexpr bool manyCasts = true;
    static constexpr const char* preamble = "[SVP_VERSION_2]\nbench\n";
    static constexpr const char* conversion = "  %f %f\n";
    static void header(std::FILE* to, std::uint32_t cast) {
        std::fprintf(to, "Section 2026-%03u %02u:%02u:00 45:30:00.00 -063:15:00.00\n", cast / 1440 % 365 + 1,
                     cast / 60 % 24, cast % 60);
    }
};
struct Chs {
    using File = CHSSvpFile;
    static constexpr const char* name = "chs.svp";
    static constexpr bool manyCasts = true;
    static constexpr const char* preamble = "";
    static constexpr const char* conversion = "%.2lf   %.2lf\n";
    static void header(std::FILE* to, std::uint32_t cast) {
        std::fprintf(to,
                     "( SoundVelocity 1.01 1 202602141230 45.5000000 -63.2500000 -1 202601%02u%02u%02u 0 X N "
                     "%u )\n",
                     cast / 1440 % 28 + 1, cast / 60 % 24, cast % 60, valuesPerCast);
    }
};
struct Dat {
    using File = RANSvpFile_Dat;
    static constexpr const char* name = "dat.svp";
    static constexpr bool manyCasts = false;
    static constexpr const char* preamble = "";
    static constexpr const char* conversion =
        "+45.5000 ,-63.2500 ,%+08.3lf ,14/02/2026 12:30:00,  +1.0000 ,%+10.4lf\n";
    static void header(std::FILE*, std::uint32_t) {}
};
struct Edf {
    using File = RANSvpFile_Edf;
    static constexpr const char* name = "bench.edf";
    static constexpr bool manyCasts = false;
    static constexpr const char* preamble = "Date of Launch:  14/02/2026\nTime of Launch:  12:30:00\n"
                                            "Latitude      :  45 30.000N\nLongitude     :  63 15.000W\n"
                                            "Depth (m)\n\n";
    static constexpr const char* conversion = "%.1lf 1.00 %.2lf\n";
    static void header(std::FILE*, std::uint32_t) {}
};

template <class Format>
void writePlainly(const std::string& path) {
    const File file(std::fopen(path.c_str(), "wb"));
    std::fputs(Format::preamble, file.get());
    for (std::uint32_t i = 0; i < values(); ++i) {
        const std::uint32_t ofCast = Format::manyCasts ? i % valuesPerCast : i;
        if (ofCast == 0) Format::header(file.get(), i / valuesPerCast);
        std::fprintf(file.get(), Format::conversion, depthOf(ofCast), speedOf(i));
    }
}

template <class Format>
const std::string& plainFile() {
    static const ScratchLine line;
    static const std::string path = [] {
        const std::string file = line.file(Format::name);
        writePlainly<Format>(file);
        return file;
    }();
    return path;
}

template <class Format>
std::uint64_t held(const typename Format::File& file) {
    std::uint64_t number = 0;
    for (const SvpFile::SvpSections& section : file.GetRecordsInFile())
        number += section.values.count();
    return number;
}

template <class Format>
void Read(benchmark::State& state) {
    const MORVAUString path(plainFile<Format>().c_str());
    for (auto _ : state) {
        typename Format::File file(path);
        if (file.ReadInData() != 0 || held<Format>(file) != values()) std::abort();
    }
    count(state, values());
}

template <class Format>
void StrtodLoop(benchmark::State& state) {
    const std::string& path = plainFile<Format>();
    double sum = 0;
    for (auto _ : state) {
        const File file(std::fopen(path.c_str(), "rb"));
        std::string text(std::filesystem::file_size(path), '\0');
        if (std::fread(text.data(), 1, text.size(), file.get()) != text.size()) std::abort();
        const char* at = text.c_str();
        const char* const end = at + text.size();
        while (at < end) {
            char* next = nullptr;
            sum += std::strtod(at, &next);
            at = next != at ? next : at + 1;
        }
    }
    benchmark::DoNotOptimize(sum);
    count(state, values());
}

template <class Format>
void Write(benchmark::State& state) {
    const ScratchLine line;
    typename Format::File file(MORVAUString(plainFile<Format>().c_str()));
    if (file.ReadInData() != 0) std::abort();
    file.SetFileName(MORVAUString(line.file(Format::name).c_str()));
    for (auto _ : state)
        if (file.UpdateDataFile() != 0) std::abort();
    count(state, values());
}

template <class Format>
void FprintfLoop(benchmark::State& state) {
    const ScratchLine line;
    const std::string path = line.file(Format::name);
    for (auto _ : state)
        writePlainly<Format>(path);
    count(state, values());
}

double pointTime(std::uint32_t i) {
    return 1.0e9 + i * 0.05;
}

std::unique_ptr<BezierStruct, decltype(&freeBezier)> filled() {
    std::unique_ptr<BezierStruct, decltype(&freeBezier)> curve(initBezier(static_cast<int>(points())),
                                                               freeBezier);
    for (std::uint32_t i = 0; i < points(); ++i)
        insertPosIntoStruct(curve.get(), pointTime(i), i * 1e-7, i * 2e-7);
    return curve;
}

void BezierInsert(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(filled()->used);
    count(state, points());
}

struct Point {
    double time, x, y;
};
std::vector<Point> plainPoints() {
    std::vector<Point> all;
    all.reserve(points());
    for (std::uint32_t i = 0; i < points(); ++i)
        all.push_back({pointTime(i), i * 1e-7, i * 2e-7});
    return all;
}

void VectorInsert(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(plainPoints().data());
    count(state, points());
}

// Times between the points, one after the other.
double askedTime(std::uint32_t i) {
    return pointTime(i) + 0.02;
}

void BezierEvaluate(benchmark::State& state) {
    const auto curve = filled();
    double sum = 0;
    for (auto _ : state) {
        for (std::uint32_t i = 0; i + 1 < points(); ++i) {
            double x = 0;
            double y = 0;
            if (interpBezier(curve.get(), askedTime(i), &x, &y) != 0) std::abort();
            sum += x + y;
        }
    }
    benchmark::DoNotOptimize(sum);
    count(state, points() - 1);
}

void LinesEvaluate(benchmark::State& state) {
    const std::vector<Point> all = plainPoints();
    double sum = 0;
    for (auto _ : state) {
        std::size_t at = 0;
        for (std::uint32_t i = 0; i + 1 < points(); ++i) {
            const double time = askedTime(i);
            while (all[at + 1].time < time)
                ++at;
            const Point& a = all[at];
            const Point& b = all[at + 1];
            const double part = (time - a.time) / (b.time - a.time);
            sum += a.x + part * (b.x - a.x) + a.y + part * (b.y - a.y);
        }
    }
    benchmark::DoNotOptimize(sum);
    count(state, points() - 1);
}

BENCHMARK(Read<Native>)->Name("ReadNative")->Unit(benchmark::kMillisecond);
BENCHMARK(StrtodLoop<Native>)->Name("StrtodNative")->Unit(benchmark::kMillisecond);
BENCHMARK(Read<Chs>)->Name("ReadChs")->Unit(benchmark::kMillisecond);
BENCHMARK(StrtodLoop<Chs>)->Name("StrtodChs")->Unit(benchmark::kMillisecond);
BENCHMARK(Read<Dat>)->Name("ReadDat")->Unit(benchmark::kMillisecond);
BENCHMARK(StrtodLoop<Dat>)->Name("StrtodDat")->Unit(benchmark::kMillisecond);
BENCHMARK(Read<Edf>)->Name("ReadEdf")->Unit(benchmark::kMillisecond);
BENCHMARK(StrtodLoop<Edf>)->Name("StrtodEdf")->Unit(benchmark::kMillisecond);
BENCHMARK(Write<Native>)->Name("WriteNative")->Unit(benchmark::kMillisecond);
BENCHMARK(FprintfLoop<Native>)->Name("FprintfNative")->Unit(benchmark::kMillisecond);
BENCHMARK(Write<Chs>)->Name("WriteChs")->Unit(benchmark::kMillisecond);
BENCHMARK(FprintfLoop<Chs>)->Name("FprintfChs")->Unit(benchmark::kMillisecond);
BENCHMARK(Write<Dat>)->Name("WriteDat")->Unit(benchmark::kMillisecond);
BENCHMARK(FprintfLoop<Dat>)->Name("FprintfDat")->Unit(benchmark::kMillisecond);
BENCHMARK(Write<Edf>)->Name("WriteEdf")->Unit(benchmark::kMillisecond);
BENCHMARK(FprintfLoop<Edf>)->Name("FprintfEdf")->Unit(benchmark::kMillisecond);
BENCHMARK(BezierInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(VectorInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BezierEvaluate)->Unit(benchmark::kMillisecond);
BENCHMARK(LinesEvaluate)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    Keeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    std::vector<Keeper::Row> rows;
    for (const char* format : {"Native", "Chs", "Dat", "Edf"}) {
        rows.push_back({std::string("Read") + format, {std::string("Strtod") + format}});
        rows.push_back({std::string("Write") + format,
                        {std::string("Fprintf") + format, std::string("Strtod") + format}});
    }
    rows.push_back({"BezierInsert", {"VectorInsert"}});
    rows.push_back({"BezierEvaluate", {"LinesEvaluate"}});
    keeper.table(rows);
    benchmark::Shutdown();
    return 0;
}
