#include <skar/errors.h>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

TEST(ErrorManagerThreads, SeparateReadersCanFailAtTheSameTime) {
    MORVAErrorManager& manager = MORVAErrorManager::instance();
    manager.clear();
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&right] {
            for (int failure = 0; failure < 100; ++failure)
                right += skar::errors::translated([] { throw std::runtime_error("short read"); }) == 140054;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 400);
    EXPECT_EQ(manager.count(), MORVAErrorManager::capacity);
    manager.clear();
}

} // namespace
