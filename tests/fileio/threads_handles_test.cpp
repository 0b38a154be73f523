#include "support/store.h"

#include <skar/sensor.h>
#include <skar/simplesensor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

using namespace skar::tests;

TEST(Handles, OnSeparateLinesWorkSideBySide) {
    ASSERT_EQ(SKARIO_Init(0), 0);
    constexpr int lines = 4;
    constexpr std::uint32_t records = 3000;
    const std::vector<Line> all(lines);
    std::vector<int> failures(lines, -1);
    std::vector<std::thread> threads;
    for (int which = 0; which < lines; ++which)
        threads.emplace_back([&, which] {
            const std::wstring path = all[static_cast<std::size_t>(which)].path();
            int failed = 0;
            const auto check = [&failed](bool good) { failed += !good; };
            std::uint32_t code = 0;
            _TELD_Sensor* sensor = GyroOpenDir(path.c_str(), L"create", &code);
            check(sensor && GyroBgnSeqWriteLineSegment(sensor, L"source") == 0);
            for (std::uint32_t n = 0; n < records; ++n)
                check(GyroSeqWrite(sensor, 60.0 + n, which + n * 1e-4, n) == 0);
            check(GyroEndSeqWriteLineSegment(sensor, 1) == 0 && GyroClose(sensor) == 0);

            sensor = GyroOpenDir(path.c_str(), L"update", &code);
            check(sensor && GyroSetRecordStatus(sensor, 7, 99) == 0 && GyroSaveStatusToDisk(sensor) == 0 &&
                  GyroClose(sensor) == 0);
            // A failed look-up makes all threads meet in the log.
            check(GyroOpenDir(path.c_str(), L"Update", &code) == nullptr && code == 5000021);

            sensor = GyroOpenDir(path.c_str(), L"query", &code);
            check(sensor != nullptr);
            double value = 0;
            std::uint32_t status = 0;
            for (std::uint32_t n = records; sensor && n >= 1; --n)
                check(GyroRead(sensor, n, nullptr, &value, &status) == 0 && status == (n == 7 ? 99 : n - 1) &&
                      value > which + (n - 1) * 1e-4 - 1e-7 && value < which + (n - 1) * 1e-4 + 1e-7);
            check(GyroClose(sensor) == 0);
            failures[static_cast<std::size_t>(which)] = failed;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>(lines, 0));
}
