#include "support/processortime.h"
#include "support/temporary_directory.h"

#include <skar/vesselsensors.h>
#include <skar/vesseltmidx.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using skar::tests::TemporaryDirectory;

std::string timeText(int second) {
    char text[32];
    std::snprintf(text, sizeof text, "2012-%03d %02d:%02d:%02d", 1 + second / 86400, second / 3600 % 24,
                  second / 60 % 60, second % 60);
    return text;
}

class HostileVessel : public testing::Test {
protected:
    // The code that the file gives, in less than a second.
    long opens(const std::string& bytes) {
        directory.write("v.skv", bytes);
        vessel = nullptr;
        const skar::tests::ProcessorTime spent;
        vessel = std::make_unique<SKARVessel>(directory.wide("v.skv").c_str(), status);
        EXPECT_LT(spent.seconds(), 10 * skar::tests::hostileLimit);
        return status;
    }
    long opensWith(const std::string& inside) {
        return opens("<SKARVesselConfig Version='2.0'>" + inside + "</SKARVesselConfig>");
    }
    void storesInTime() {
        const skar::tests::ProcessorTime spent;
        EXPECT_EQ(vessel->store(), 0);
        EXPECT_LT(spent.seconds(), 10 * skar::tests::hostileLimit);
    }

    TemporaryDirectory directory;
    std::unique_ptr<SKARVessel> vessel;
    long status = 0;
};

TEST_F(HostileVessel, WhatIsNoXmlIsNotReadAsAVessel) {
    EXPECT_EQ(opens(""), 5000401);
    EXPECT_EQ(opens("<"), 5000401);
    EXPECT_EQ(opens("<SKARVesselConfig Version='2.0'>"), 5000401);
    EXPECT_EQ(opens(std::string("<SKARVesselConfig Version='2.0'>\0</SKARVesselConfig>", 53)), 5000401);
    EXPECT_EQ(opens("<SKARVesselConfig Version='2.0'><a b='\xFF\xFE'/></SKARVesselConfig>"), 5000401);
    std::string deep;
    for (int level = 0; level < 100000; ++level)
        deep += "<a>";
    EXPECT_EQ(opensWith(deep), 5000401);
    EXPECT_EQ(opensWith("<NavSensor><TimeStamp value='" + std::string(10500000, 'x') + "'/></NavSensor>"),
              5000401);
    EXPECT_TRUE(vessel->getSensors().isEmpty());
}

TEST_F(HostileVessel, NothingOutsideTheFileIsRead) {
    directory.write("secret.txt", "secret");
    const std::string path = (directory.path() / "secret.txt").string();
    const std::string inside =
        "<SKARVesselConfig Version='2.0'><RollSensor><TimeStamp value='2012-001 00:00:00'>"
        "<Comment value='a'>&s;</Comment></TimeStamp></RollSensor></SKARVesselConfig>";
    ASSERT_EQ(opens("<!DOCTYPE SKARVesselConfig [<!ENTITY s SYSTEM 'file://" + path + "'>]>" + inside), 0);
    EXPECT_EQ(vessel->store(), 0);
    EXPECT_EQ(directory.read("v.skv").find("secret<"), std::string::npos);
    directory.write("evil.dtd", "<!ATTLIST Comment value CDATA 'from outside'><!ENTITY s 'x'>");
    ASSERT_EQ(opens("<!DOCTYPE SKARVesselConfig SYSTEM 'file://" + (directory.path() / "evil.dtd").string() +
                    "'><SKARVesselConfig Version='2.0'><RollSensor><TimeStamp value='2012-001 00:00:00'>"
                    "<Comment/></TimeStamp></RollSensor></SKARVesselConfig>"),
              0);
    EXPECT_EQ(vessel->getFirstSensor(L"RollSensor", status)->getComment(), nullptr);
}

TEST_F(HostileVessel, AnEntityBombIsRefused) {
    std::string bomb = "<!DOCTYPE r [<!ENTITY e0 '0123456789'>";
    for (int i = 1; i < 12; ++i) {
        bomb += "<!ENTITY e" + std::to_string(i) + " '";
        for (int n = 0; n < 10; ++n)
            bomb += "&e" + std::to_string(i - 1) + ";";
        bomb += "'>";
    }
    EXPECT_EQ(opens(bomb + "]><SKARVesselConfig Version='&e11;'/>"), 5000401);
}

TEST_F(HostileVessel, EntriesInAnyOrderLoadInTime) {
    std::string entries;
    for (int entry = 0; entry < 50000; ++entry)
        entries += "<T value='" + timeText(entry * 7919 % 50021 * 100) + "'/>";
    ASSERT_EQ(opensWith("<SideScanSensor>" + entries + "</SideScanSensor>"), 0);
    const auto* list = vessel->getSensorList(typeid(SKARSideScanConfig));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->getCount(), 50000U);
    const skar::tests::ProcessorTime spent;
    std::size_t walked = 0;
    double before = -1e300;
    for (const auto* each = list->getFirstConfig(); each != nullptr; each = list->getNextConfig(each)) {
        EXPECT_LT(before, each->getTimeStamp());
        EXPECT_EQ(list->getConfig(each->getTimeStamp() + 0.5, status), each);
        before = each->getTimeStamp();
        ++walked;
    }
    EXPECT_EQ(walked, 50000U);
    EXPECT_LT(spent.seconds(), 10 * skar::tests::hostileLimit);
    storesInTime();
}

TEST_F(HostileVessel, TransducersWithoutEndLoadInTime) {
    std::string transducers;
    for (int number = 100000; number > 0; --number)
        transducers += "<T Number='" + std::to_string(number) + "'/>";
    ASSERT_EQ(opensWith("<DepthSensor><T value='2012-001 00:00:00'><SensorClass value='Sweep'/>"
                        "<TransducerEntries>" +
                        transducers + "</TransducerEntries></T></DepthSensor>"),
              0);
    int count = 0;
    double* latencies = nullptr;
    const skar::tests::ProcessorTime spent;
    EXPECT_EQ(VesselDepthSensorLatencyTmIdxConfig(vessel.get(), 1e10, nullptr, nullptr, &count, nullptr,
                                                  nullptr, &latencies),
              0);
    EXPECT_LT(spent.seconds(), 10 * skar::tests::hostileLimit);
    std::free(latencies);
    EXPECT_EQ(count, 100000);
}

TEST_F(HostileVessel, RowsInAnyOrderLoadInTime) {
    std::string draft = "<Entry Speed='nan' Draft='1'/>";
    std::string gyro;
    for (int row = 0; row < 100000; ++row) {
        const std::string number = std::to_string(row * 7919 % 100003);
        draft += "<Entry Speed='" + number + "' Draft='" + number + "'/>";
        gyro += "<Entry Azimuth='" + number + "' Offset='1'/>";
    }
    draft += "<Entry Speed='7' Draft='1'/>";
    ASSERT_EQ(opensWith("<DraftSensor><T value='2012-001 00:00:00'><DraftEntries>" + draft +
                        "</DraftEntries></T></DraftSensor><GyroSensor><T value='2012-001 00:00:00'>"
                        "<Offsets><Gyro>" +
                        gyro + "</Gyro></Offsets></T></GyroSensor>"),
              0);
    const auto* rows = dynamic_cast<const SKARDraftConfig*>(vessel->getFirstSensor(L"DraftSensor", status));
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(rows->getNumEntries(), 100001U);
    double speed = -1;
    for (const auto& row : rows->getDraftEntries()) {
        EXPECT_FALSE(row.speed <= speed);
        // The row that came last at a speed holds.
        EXPECT_TRUE(row.speed != 7 || row.draft == 1);
        speed = row.speed;
    }
    storesInTime();
}

TEST_F(HostileVessel, NumbersOfAnySizeAreNoTransducer) {
    const auto code = [&](const std::string& number) {
        return opensWith("<DepthSensor><T value='2012-001 00:00:00'><TransducerEntries><T Number='" + number +
                         "'/></TransducerEntries></T></DepthSensor>");
    };
    EXPECT_EQ(code("4294967296"), 5100100);
    EXPECT_EQ(code("99999999999999999999999"), 5100100);
    EXPECT_EQ(code(std::string(1000000, '9')), 5100100);
    EXPECT_EQ(code("-2147483649"), 5100100);
    EXPECT_EQ(code("none"), 5100100);
    EXPECT_EQ(code(""), 5100100);
    EXPECT_EQ(code("4294967295"), 0);
    EXPECT_EQ(code("-1"), 0);
}

TEST_F(HostileVessel, NumbersThatAreNoneAreZeroOrInfinite) {
    ASSERT_EQ(
        opensWith("<HeaveSensor><T value='2012-001 00:00:00'><Latency value='none'/><Offsets X='' Y='1e999' "
                  "Z='-1.5abc' Heave='0x10'/></T></HeaveSensor>"),
        0);
    const auto* heave = dynamic_cast<const SKARHeaveConfig*>(vessel->getFirstSensor(L"HeaveSensor", status));
    ASSERT_NE(heave, nullptr);
    double x = 9;
    double y = 9;
    double z = 9;
    heave->getPositionOffsets(x, y, z);
    EXPECT_EQ(x, 0);
    EXPECT_TRUE(std::isinf(y));
    EXPECT_EQ(z, -1.5);
    EXPECT_EQ(heave->getHeaveOffset(), 0);
    EXPECT_EQ(heave->getLatency(), 0);
    EXPECT_EQ(vessel->store(), 0);
}

TEST_F(HostileVessel, EveryCutOfAFileGivesACode) {
    const std::string whole =
        "<SKARVesselConfig Version='2.0'><VesselShape><PlanCoordinates><Entry X='1' Y='2'/></PlanCoordinates>"
        "</VesselShape><DepthSensor><TimeStamp value='2012-001 00:00:00'><TransducerEntries><Transducer "
        "Number='1'/></TransducerEntries></TimeStamp></DepthSensor></SKARVesselConfig>";
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(opens(whole.substr(0, size)), 5000401) << size;
    }
    EXPECT_EQ(opens(whole), 0);
}

} // namespace
