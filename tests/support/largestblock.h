#pragma once

#include <atomic>
#include <cstddef>

// How much memory the objects of this program ask for at once.
namespace skar::tests {

// The largest block since it was last set.
extern std::atomic<std::size_t> largestBlock;
// What a file may make the library ask for.
constexpr std::size_t mostMemory = 64u << 20;

// While it lives a request for that many bytes or more is refused as if there were no memory.
class RefusedMemory {
public:
    explicit RefusedMemory(std::size_t from);
    ~RefusedMemory();
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;
};

} // namespace skar::tests
