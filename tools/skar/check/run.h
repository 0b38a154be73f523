#pragma once

#include "check/report.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <utility>

namespace skar::tool::check {

// A finding that many records in a row share is one finding.
class Run {
public:
    using Add = void (Report::*)(const char* code, std::uint64_t offset, std::string text);
    Run(Report& report, Add add, const char* code, std::string file)
        : report_(report), add_(add), code_(code), file_(std::move(file)) {}

    template <class Text>
    void hit(std::uint64_t record, std::uint64_t offset, Text text) {
        ++hits_;
        if (count_ > 0 && record == first_ + count_) {
            ++count_;
            return;
        }
        end();
        first_ = record;
        count_ = 1;
        offset_ = offset;
        text_ = text();
    }
    void end() {
        if (count_ > 0) {
            if (count_ > 1) text_ += fmt::format("; so up to record {}", first_ + count_ - 1);
            report_.enterFile(file_);
            (report_.*add_)(code_, offset_, text_);
        }
        count_ = 0;
    }
    std::uint64_t hits() const { return hits_; }

private:
    Report& report_;
    Add add_;
    const char* code_;
    std::string file_;
    std::uint64_t first_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t offset_ = 0;
    std::uint64_t hits_ = 0;
    std::string text_;
};

} // namespace skar::tool::check
