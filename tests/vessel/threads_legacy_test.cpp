#include "legacy_support.h"

#include <thread>
#include <vector>

namespace {

using namespace skar::tests;

TEST_F(LegacyTest, TextsAreImportedSideBySide) {
    ::setenv("TMP", directory.path().c_str(), 1);
    constexpr int threads = 4, rounds = 40;
    for (int each = 0; each < threads; ++each) {
        std::string text = "#\tStart Shape\n#\t" + std::to_string(each) + " 0\n#\t;\n" + someNavigation;
        for (int entry = 0; entry < 50; ++entry)
            text += "GYRO 2001-" + std::to_string(entry + 1) + "-00:00 OFFSET " + std::to_string(each) +
                    " MODEL \"m" + std::to_string(each) + "\" ;\n";
        directory.write("boat" + std::to_string(each), text);
        directory.write("bad" + std::to_string(each), text + "@");
    }
    const auto work = [this](int each) {
        const std::wstring good = directory.wide("boat" + std::to_string(each));
        const std::wstring bad = directory.wide("bad" + std::to_string(each));
        const std::wstring model = L"m" + std::to_wstring(each);
        for (int round = 0; round < rounds; ++round) {
            SKARVessel read;
            EXPECT_EQ(SKARVesselImport(bad.c_str(), &read), 5000401);
            ASSERT_EQ(SKARVesselImport(good.c_str(), &read), 0);
            const SKARVesselSensorList* list = read.getSensorList(typeid(SKARGyroConfig));
            ASSERT_EQ(list->getCount(), 50U);
            const SKARVesselSensorConfig* entry = list->getFirstConfig();
            for (; entry != nullptr; entry = list->getNextConfig(entry)) {
                const auto& gyro = dynamic_cast<const SKARGyroConfig&>(*entry);
                EXPECT_EQ(gyro.getGyroOffset(0), each);
                EXPECT_EQ(gyro.getModel(), model);
            }
            EXPECT_EQ((*read.getVesselShape().getPlanViewCoords().head())[0], each);
        }
    };
    testing::internal::CaptureStderr();
    std::vector<std::thread> running;
    for (int each = 0; each < threads; ++each)
        running.emplace_back(work, each);
    for (std::thread& each : running)
        each.join();
    std::string printed = testing::internal::GetCapturedStderr();
    // Every message is whole.
    const std::string message = "YACC Parser: syntax error\n";
    std::size_t count = 0;
    for (; printed.starts_with(message); ++count)
        printed.erase(0, message.size());
    EXPECT_EQ(printed, "");
    EXPECT_EQ(count, std::size_t{threads * rounds});
}

} // namespace
