#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// What the benchmark programs share: a folder that goes with the program, and a table of ratios behind the
// figures.
namespace skarbench {

// A survey line below a folder of its own, removed at the end.
class ScratchLine {
public:
    ScratchLine() {
        std::string pattern = (std::filesystem::temp_directory_path() / "skarbenchXXXXXX").string();
        if (!mkdtemp(pattern.data())) {
            std::perror("mkdtemp");
            std::exit(1);
        }
        root_ = pattern;
        std::filesystem::create_directories(root_ / "Project" / "Vessel" / "2026-001" / "Line");
    }
    ~ScratchLine() { std::filesystem::remove_all(root_); }
    ScratchLine(const ScratchLine&) = delete;
    ScratchLine& operator=(const ScratchLine&) = delete;

    std::wstring line() const { return (root_ / "Project" / "Vessel" / "2026-001" / "Line").wstring(); }
    std::string file(const std::string& name) const {
        return (root_ / "Project" / "Vessel" / "2026-001" / "Line" / name).string();
    }

private:
    std::filesystem::path root_;
};

inline constexpr std::size_t blockSize = 1 << 20;

inline std::uint32_t big(std::uint32_t word) {
    return __builtin_bswap32(word);
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

inline void count(benchmark::State& state, std::uint64_t items) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * items));
}

// Resident bytes of this process.
inline double residentBytes() {
    const File status(std::fopen("/proc/self/statm", "r"));
    long size = 0, resident = 0;
    if (std::fscanf(status.get(), "%ld %ld", &size, &resident) != 2) return 0;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

// A size from the environment.
inline std::uint32_t sizeFrom(const char* variable, std::uint32_t usual) {
    const char* const wanted = std::getenv(variable);
    return wanted != nullptr ? static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10)) : usual;
}

// Runs the writing in a process of its own, so that its memory does not serve the reading.
template <typename Write>
void writeApart(Write write) {
    const pid_t writer = fork();
    if (writer == 0) {
        write();
        _exit(0);
    }
    int status = 1;
    if (waitpid(writer, &status, 0) != writer || status != 0) std::abort();
}

// Prints the usual figures and keeps the median nanoseconds per item of each benchmark.
class Keeper : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const auto rate = run.counters.find("items_per_second");
            if (rate == run.counters.end() || rate->second.value <= 0) continue;
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (median || run.run_type == Run::RT_Iteration)
                nanoseconds_[run.run_name.function_name] = 1e9 / rate->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // A row per benchmark that was run: its figure, and its ratio to the others named.
    struct Row {
        std::string name;
        std::vector<std::string> against;
    };
    void table(const std::vector<Row>& rows) const {
        std::printf("\n%-34s %12s   ratios\n", "", "ns per item");
        for (const Row& row : rows) {
            const auto own = nanoseconds_.find(row.name);
            if (own == nanoseconds_.end()) continue;
            std::printf("%-34s %12.2f", row.name.c_str(), own->second);
            for (const std::string& name : row.against) {
                const auto other = nanoseconds_.find(name);
                if (other != nanoseconds_.end())
                    std::printf("   %.2f x %s", own->second / other->second, name.c_str());
            }
            std::printf("\n");
        }
    }

private:
    std::map<std::string, double> nanoseconds_;
};

} // namespace skarbench
