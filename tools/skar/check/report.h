#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace skar::tool::check {

enum class Severity { error, warning };

// One inconsistency. The codes are listed in docs/skar/check.md.
struct Finding {
    Severity severity;
    std::string code;
    std::string sensor;
    std::string file;
    std::uint64_t offset; // of the first byte concerned
    std::string text;
};

class Report {
public:
    // At most limit findings of one code in one file are listed, all are counted; 0: no limit.
    explicit Report(std::uint64_t limit) : limit_(limit) {}

    void error(const char* code, std::uint64_t offset, std::string text) {
        add(Severity::error, code, offset, std::move(text));
    }
    void warning(const char* code, std::uint64_t offset, std::string text) {
        add(Severity::warning, code, offset, std::move(text));
    }

    // The findings that follow are about this sensor, this file.
    void enterSensor(const std::string& name) { sensor_ = name; }
    void enterFile(const std::string& path) { file_ = path; }

    const std::vector<Finding>& findings() const { return findings_; }
    std::uint64_t errors() const { return errors_; }
    std::uint64_t warnings() const { return warnings_; }
    std::uint64_t unlisted() const { return errors_ + warnings_ - findings_.size(); }

private:
    void add(Severity severity, const char* code, std::uint64_t offset, std::string text) {
        ++(severity == Severity::error ? errors_ : warnings_);
        const std::uint64_t alike = ++counts_[{file_, code}];
        if (limit_ == 0 || alike <= limit_)
            findings_.push_back({severity, code, sensor_, file_, offset, std::move(text)});
    }

    std::uint64_t limit_;
    std::string sensor_;
    std::string file_;
    std::vector<Finding> findings_;
    std::map<std::pair<std::string, std::string>, std::uint64_t> counts_;
    std::uint64_t errors_ = 0;
    std::uint64_t warnings_ = 0;
};

} // namespace skar::tool::check
