#include "support/largestblock.h"
#include "support/temporary_directory.h"

#include <skar/vesselsensors.h>
#include <skar/vesseltmidx.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using skar::tests::RefusedMemory;
using skar::tests::TemporaryDirectory;

constexpr double radian = 3.14159265358979323846 / 180.0;

template <class Kind, class... Arguments>
void place(SKARVessel& vessel, double time, const std::function<void(Kind&)>& set, Arguments... arguments) {
    long status = -1;
    auto entry = std::make_unique<Kind>(time, arguments..., status);
    EXPECT_EQ(status, 0);
    entry->setComment(L"why");
    entry->setAuthorization(L"who");
    set(*entry);
    MORVAType<SKARVesselSensorConfig> handle(std::move(entry));
    EXPECT_EQ(vessel.addSensor(handle), 0);
}

template <class Kind>
void equip(Kind& entry) {
    entry.setManufacturer(L"maker");
    entry.setModel(L"model");
    entry.setSerialNumber(L"number");
}

// An output that holds anything but zero before the call and is released behind it.
struct Text {
    wchar_t* value = reinterpret_cast<wchar_t*>(this);
    Text() = default;
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { std::free(value); }
    operator wchar_t**() { return &value; }
    std::wstring operator*() const { return value == nullptr ? L"(null)" : value; }
};

template <class Value>
struct Array {
    Value* values = reinterpret_cast<Value*>(this);
    Array() = default;
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    ~Array() { std::free(values); }
    operator Value**() { return &values; }
    Value operator[](std::size_t index) const { return values[index]; }
};

struct Number {
    double value = -99;
    operator double*() { return &value; }
    operator double() const { return value; }
};

struct Whole {
    int value = -99;
    operator int*() { return &value; }
    operator int() const { return value; }
};

bool isNothing(const Number& output) {
    return output == 0;
}
bool isNothing(const Whole& output) {
    return output == 0;
}
bool isNothing(const Text& output) {
    return output.value == nullptr;
}
template <class Value>
bool isNothing(const Array<Value>& output) {
    return output.values == nullptr;
}
template <class Output, std::size_t count>
bool isNothing(const std::array<Output, count>& outputs) {
    return std::all_of(outputs.begin(), outputs.end(), [](const Output& each) { return isNothing(each); });
}
template <class... Outputs>
bool areNothing(const Outputs&... outputs) {
    return (isNothing(outputs) && ...);
}

struct Attitude {
    Number time, latency, offset;
    std::array<Number, 3> spare;
    Whole apply;
    Text maker, model, number, comment, authorization;
    template <class Function>
    long ask(Function* function, void* vessel, double at) {
        return function(vessel, at, time, maker, model, number, spare[0], spare[1], spare[2], latency, offset,
                        apply, comment, authorization);
    }
    void expectTexts() const {
        EXPECT_EQ(*maker + L" " + *model + L" " + *number, L"maker model number");
        EXPECT_EQ(*comment + L" " + *authorization, L"why who");
    }
    bool isEmpty() const {
        return areNothing(time, spare, latency, offset, apply, maker, model, number, comment, authorization);
    }
};

TEST(VesselTimeIndex, GyroPitchAndRollGiveRadians) {
    SKARVessel vessel;
    place<SKARGyroConfig>(vessel, 10, [](auto& entry) {
        equip(entry);
        entry.setLatency(0.5);
        entry.setGyroOffset(0, 90);
        entry.setApplyFlag(true);
        // The latency of the entry as such is not the one that is given out.
        entry.SKARVesselSensorConfig::setLatency(7);
    });
    place<SKARPitchConfig>(vessel, 20, [](auto& entry) {
        equip(entry);
        entry.setLatency(1.5);
        entry.setPitchOffset(-2);
        entry.setApplyFlag(true);
    });
    place<SKARRollConfig>(vessel, 30, [](auto& entry) {
        equip(entry);
        entry.setLatency(2.5);
        entry.setRollOffset(180);
    });
    Attitude gyro;
    EXPECT_EQ(gyro.ask(VesselGyroSensorTmIdxConfig, &vessel, 11), 0);
    EXPECT_EQ(gyro.time, 10);
    EXPECT_EQ(gyro.latency, 0.5);
    EXPECT_EQ(gyro.offset, 90 * radian);
    EXPECT_EQ(gyro.apply, 1);
    EXPECT_EQ(gyro.spare[0] + gyro.spare[1] + gyro.spare[2], 0);
    gyro.expectTexts();
    Attitude pitch;
    EXPECT_EQ(pitch.ask(VesselPitchSensorTmIdxConfig, &vessel, 20), 0);
    EXPECT_EQ(pitch.time, 20);
    EXPECT_EQ(pitch.latency, 1.5);
    EXPECT_EQ(pitch.offset, -2 * radian);
    EXPECT_EQ(pitch.apply, 1);
    EXPECT_EQ(pitch.spare[0] + pitch.spare[1] + pitch.spare[2], 0);
    pitch.expectTexts();
    Attitude roll;
    EXPECT_EQ(roll.ask(VesselRollSensorTmIdxConfig, &vessel, 1e12), 0);
    EXPECT_EQ(roll.time, 30);
    EXPECT_EQ(roll.latency, 2.5);
    EXPECT_EQ(roll.offset, 180 * radian);
    EXPECT_EQ(roll.apply, 0);
    EXPECT_EQ(roll.spare[0] + roll.spare[1] + roll.spare[2], 0);
    roll.expectTexts();
}

TEST(VesselTimeIndex, HeaveKeepsItsMetres) {
    SKARVessel vessel;
    place<SKARHeaveConfig>(vessel, 10, [](auto& entry) {
        equip(entry);
        entry.setPositionOffsets(1, 2, 3);
        entry.setLatency(4);
        entry.setHeaveOffset(5);
        entry.setApplyFlag(true);
    });
    Attitude heave;
    EXPECT_EQ(heave.ask(VesselHeaveSensorTmIdxConfig, &vessel, 10), 0);
    EXPECT_EQ(heave.time, 10);
    EXPECT_EQ(heave.spare[0], 1);
    EXPECT_EQ(heave.spare[1], 2);
    EXPECT_EQ(heave.spare[2], 3);
    EXPECT_EQ(heave.latency, 4);
    EXPECT_EQ(heave.offset, 5);
    EXPECT_EQ(heave.apply, 1);
    heave.expectTexts();
}

struct Navigation {
    Number time, x, y, z, latency;
    Text maker, model, number, ellipse, comment, authorization;
    long ask(void* vessel, double at) {
        return VesselNavigationSensorTmIdxConfig(vessel, at, time, maker, model, number, ellipse, x, y, z,
                                                 latency, comment, authorization);
    }
    bool isEmpty() const {
        return areNothing(time, x, y, z, latency, maker, model, number, ellipse, comment, authorization);
    }
};

TEST(VesselTimeIndex, NavigationNamesItsEllipse) {
    SKARVessel vessel;
    place<SKARNavConfig>(vessel, 10, [](auto& entry) {
        equip(entry);
        entry.setEllipseName(L"WG84");
        entry.setPositionOffsets(1, 2, 3);
        entry.setLatency(4);
    });
    Navigation given;
    EXPECT_EQ(given.ask(&vessel, 10), 0);
    EXPECT_EQ(given.time, 10);
    EXPECT_EQ(given.x, 1);
    EXPECT_EQ(given.y, 2);
    EXPECT_EQ(given.z, 3);
    EXPECT_EQ(given.latency, 4);
    EXPECT_EQ(*given.maker + L" " + *given.model + L" " + *given.number + L" " + *given.ellipse,
              L"maker model number WG84");
    EXPECT_EQ(*given.comment + L" " + *given.authorization, L"why who");
}

// X, Y, spare, X, Y, Z of both heads, then the angles of both.
struct SoundVelocity {
    Number time;
    std::array<Number, 18> values;
    Text comment, authorization;
    long ask(void* vessel, double at) {
        return std::apply(
            [&](auto&... each) {
                return VesselSVPTmIdxConfig(vessel, at, time, each..., comment, authorization);
            },
            values);
    }
    bool isEmpty() const { return areNothing(time, values, comment, authorization); }
    std::vector<double> all() const { return {values.begin(), values.end()}; }
};

TEST(VesselTimeIndex, TheSecondHeadIsGivenOutForADualHeadOnly) {
    SKARVessel vessel;
    place<SKARSVPConfig>(vessel, 10, [](auto& entry) {
        entry.setPositionOffsets(1, 2, 3, false);
        entry.setMountAngle(4, 5, 6, false);
    });
    place<SKARSVPConfig>(vessel, 20, [](auto& entry) {
        entry.setPositionOffsets(1, 2, 3, false);
        entry.setMountAngle(4, 5, 6, false);
        entry.setPositionOffsets(7, 8, 9, true);
        entry.setMountAngle(10, 11, 12, true);
    });
    SoundVelocity one;
    EXPECT_EQ(one.ask(&vessel, 19), 0);
    EXPECT_EQ(one.time, 10);
    EXPECT_EQ(one.all(), (std::vector<double>{1, 2, 0, 1, 2, 3, 0, 0, 0, 0, 0, 0, 4 * radian, 5 * radian,
                                              6 * radian, 0, 0, 0}));
    EXPECT_EQ(*one.comment + L" " + *one.authorization, L"why who");
    SoundVelocity two;
    EXPECT_EQ(two.ask(&vessel, 20), 0);
    EXPECT_EQ(two.all(), (std::vector<double>{1, 2, 0, 1, 2, 3, 7, 8, 0, 7, 8, 9, 4 * radian, 5 * radian,
                                              6 * radian, 10 * radian, 11 * radian, 12 * radian}));
}

struct Towed {
    Number time, x, y, z, latency, layback;
    Text comment, authorization;
    long ask(void* vessel, double at) {
        return VesselTowedTmIdxConfig(vessel, at, time, x, y, z, latency, layback, comment, authorization);
    }
    bool isEmpty() const { return areNothing(time, x, y, z, latency, layback, comment, authorization); }
};

struct Waterline {
    Number time, height;
    Whole apply;
    Text comment, authorization;
    long ask(void* vessel, double at) {
        return VesselRPTmIdxConfig(vessel, at, time, height, apply, comment, authorization);
    }
    bool isEmpty() const { return areNothing(time, height, apply, comment, authorization); }
};

TEST(VesselTimeIndex, TowedSensorAndWaterlineComeAsTheyAre) {
    SKARVessel vessel;
    place<SKARTowedSSSConfig>(vessel, 10, [](auto& entry) {
        entry.setPositionOffsets(1, 2, 3);
        entry.setLatency(4);
        entry.setLaybackOffset(5);
    });
    place<SKARWaterlineHeight>(vessel, 20, [](auto& entry) {
        entry.setWaterLine(-1.25);
        entry.setApplyFlag(true);
    });
    Towed towed;
    EXPECT_EQ(towed.ask(&vessel, 10), 0);
    EXPECT_EQ((std::array<double, 6>{towed.time, towed.x, towed.y, towed.z, towed.latency, towed.layback}),
              (std::array<double, 6>{10, 1, 2, 3, 4, 5}));
    EXPECT_EQ(*towed.comment + L" " + *towed.authorization, L"why who");
    Waterline water;
    EXPECT_EQ(water.ask(&vessel, 25), 0);
    EXPECT_EQ(water.time, 20);
    EXPECT_EQ(water.height, -1.25);
    EXPECT_EQ(water.apply, 1);
    EXPECT_EQ(*water.comment + L" " + *water.authorization, L"why who");
}

struct Draft {
    Number time;
    Whole rows, apply;
    Array<double> speeds, drafts;
    Text comment, authorization;
    long ask(void* vessel, double at) {
        return VesselDraftTmIdxConfig(vessel, at, time, rows, speeds, drafts, apply, comment, authorization);
    }
    bool isEmpty() const { return areNothing(time, rows, apply, speeds, drafts, comment, authorization); }
};

TEST(VesselTimeIndex, DraftRowsFollowAZero) {
    SKARVessel vessel;
    place<SKARDraftConfig>(vessel, 10, [](auto& entry) {
        entry.setApplyFlag(true);
        entry.setDraft(4, 5);
        entry.setDraft(2, 3);
    });
    place<SKARDraftConfig>(vessel, 20, [](auto& entry) { entry.setApplyFlag(true); });
    Draft filled;
    EXPECT_EQ(filled.ask(&vessel, 10), 0);
    EXPECT_EQ(filled.time, 10);
    EXPECT_EQ(filled.rows, 2);
    EXPECT_EQ(filled.apply, 1);
    EXPECT_EQ((std::array{filled.speeds[0], filled.speeds[1], filled.speeds[2]}),
              (std::array{0.0, 2.0, 4.0}));
    EXPECT_EQ((std::array{filled.drafts[0], filled.drafts[1], filled.drafts[2]}),
              (std::array{0.0, 3.0, 5.0}));
    EXPECT_EQ(*filled.comment + L" " + *filled.authorization, L"why who");
    Draft bare;
    EXPECT_EQ(bare.ask(&vessel, 20), 0);
    EXPECT_EQ(bare.time, 20);
    EXPECT_EQ(bare.rows, 0);
    EXPECT_EQ(bare.apply, 0);
    EXPECT_EQ(bare.speeds.values, nullptr);
    EXPECT_EQ(bare.drafts.values, nullptr);
}

struct Depth {
    Number time;
    Text sensorClass, maker, model, number, comment, authorization;
    Whole count1, count2;
    Array<double> x, y, z, scratch;
    std::array<Number, 16> heads;
    long ask(void* vessel, double at) {
        return std::apply(
            [&](auto&... each) {
                return VesselDepthSensorTmIdxConfig(vessel, at, time, sensorClass, count1, count2, x, y, z,
                                                    scratch, maker, model, number, each..., comment,
                                                    authorization);
            },
            heads);
    }
    bool isEmpty() const {
        return areNothing(time, sensorClass, maker, model, number, comment, authorization, count1, count2, x,
                          y, z, scratch, heads);
    }
    std::vector<double> all() const { return {heads.begin(), heads.end()}; }
};

SKARTransducerConfig transducer(std::uint32_t number, std::uint32_t startBeam, double first) {
    SKARTransducerConfig made(number, startBeam, false);
    made.setPositionOffset(first, first + 1, first + 2);
    made.setMountAngle(first + 3, first + 4, first + 5);
    made.setLatency(first + 6);
    made.setManufacturer(L"maker");
    made.setModel(L"model");
    made.setSerialNumber(L"number");
    return made;
}

TEST(VesselTimeIndex, ASwathGivesItsFirstTwoTransducers) {
    SKARVessel vessel;
    place<SKARDepthConfig>(
        vessel, 10, [](auto& entry) { entry.addTransducer(transducer(1, 1, 1)); }, L"Swath");
    place<SKARDepthConfig>(
        vessel, 20,
        [](auto& entry) {
            entry.addTransducer(transducer(2, 129, 8));
            entry.addTransducer(transducer(1, 1, 1));
        },
        L"Swath");
    place<SKARDepthConfig>(
        vessel, 30, [](auto& entry) { entry.addTransducer(transducer(5, 1, 1)); }, L"Swath");
    Depth one;
    EXPECT_EQ(one.ask(&vessel, 10), 0);
    EXPECT_EQ(one.time, 10);
    EXPECT_EQ(*one.sensorClass, L"Swath");
    EXPECT_EQ(one.count1, 1);
    EXPECT_EQ(one.count2, 1);
    EXPECT_EQ(one.x.values, nullptr);
    EXPECT_EQ(one.y.values, nullptr);
    EXPECT_EQ(one.z.values, nullptr);
    EXPECT_EQ(*one.maker + L" " + *one.model + L" " + *one.number, L"maker model number");
    EXPECT_EQ(*one.comment + L" " + *one.authorization, L"why who");
    EXPECT_EQ(one.all(), (std::vector<double>{1, 2, 3, 4 * radian, 5 * radian, 6 * radian, 7, 0, 0, 0, 0, 0,
                                              0, 0, 0, 0}));
    ASSERT_NE(one.scratch.values, nullptr);
    for (std::size_t i = 0; i < 1000; ++i) {
        EXPECT_EQ(one.scratch[i], 0);
    }
    Depth two;
    EXPECT_EQ(two.ask(&vessel, 20), 0);
    EXPECT_EQ(two.count1, 256);
    EXPECT_EQ(two.count2, 128);
    EXPECT_EQ(two.all(), (std::vector<double>{1, 2, 3, 4 * radian, 5 * radian, 6 * radian, 7, 0, 8, 9, 10,
                                              11 * radian, 12 * radian, 13 * radian, 14, 0}));
    // Without a transducer 1 there is nothing to give.
    Depth none;
    EXPECT_EQ(none.ask(&vessel, 30), 0);
    EXPECT_EQ(none.count1, 1);
    EXPECT_EQ(none.all(), std::vector<double>(16, 0.0));
    // One alone is no second head, whatever its number.
    place<SKARDepthConfig>(
        vessel, 40, [](auto& entry) { entry.addTransducer(transducer(2, 129, 8)); }, L"Swath");
    Depth alone;
    EXPECT_EQ(alone.ask(&vessel, 40), 0);
    EXPECT_EQ(alone.count1, 1);
    EXPECT_EQ(alone.count2, 1);
    EXPECT_EQ(alone.all(), std::vector<double>(16, 0.0));
    EXPECT_EQ(*none.maker, L"(null)");
}

class SweepVessel : public testing::Test {
protected:
    SweepVessel() {
        place<SKARDepthConfig>(
            vessel, 10,
            [](auto& entry) {
                entry.SKARVesselSensorConfig::setLatency(0.25);
                entry.setNavigationToBoomOffset(1, 2, 3);
                entry.setMRUToBoomOffset(4, 5, 6);
                SKARTransducerConfig one = transducer(1, 1, 10);
                one.setSweepTPEParameters(false, 7, 8, 50, 60);
                entry.addTransducer(one);
                entry.addTransducer(transducer(3, 1, 20));
                // Beyond the number of transducers: no place in the arrays.
                entry.addTransducer(transducer(9, 1, 30));
            },
            L"Sweep");
    }
    SKARVessel vessel;
};

using Four = std::array<double, 4>;
Four four(const Array<double>& given) {
    return {given[0], given[1], given[2], given[3]};
}

TEST_F(SweepVessel, GivesOffsetsByTransducerNumber) {
    Depth given;
    EXPECT_EQ(given.ask(&vessel, 10), 0);
    EXPECT_EQ(*given.sensorClass, L"Sweep");
    EXPECT_EQ(given.count1, 3);
    EXPECT_EQ(given.count2, 3);
    EXPECT_EQ(four(given.x), (Four{0, 10, 0, 20}));
    EXPECT_EQ(four(given.y), (Four{0, 11, 0, 21}));
    EXPECT_EQ(four(given.z), (Four{0, 12, 0, 22}));
    ASSERT_NE(given.scratch.values, nullptr);
    EXPECT_EQ(given.all(), std::vector<double>(16, 0.0));
    EXPECT_EQ(*given.maker, L"(null)");
}

struct Orientation {
    Number time;
    Text sensorClass;
    Whole count1, count2;
    Array<double> pitch, roll, azimuth;
    long ask(void* vessel, double at) {
        return VesselDepthSensorOrientationTmIdxConfig(vessel, at, time, sensorClass, count1, count2, pitch,
                                                       roll, azimuth);
    }
    bool isEmpty() const { return areNothing(time, sensorClass, count1, count2, pitch, roll, azimuth); }
};

struct Latency {
    Number time, latency;
    Text sensorClass;
    Whole count1, count2;
    Array<double> latencies;
    long ask(void* vessel, double at) {
        return VesselDepthSensorLatencyTmIdxConfig(vessel, at, time, sensorClass, count1, count2, latency,
                                                   latencies);
    }
    bool isEmpty() const { return areNothing(time, latency, sensorClass, count1, count2, latencies); }
};

TEST_F(SweepVessel, GivesAnglesAndLatenciesByTransducerNumber) {
    Orientation angles;
    EXPECT_EQ(angles.ask(&vessel, 10), 0);
    EXPECT_EQ(angles.time, 10);
    EXPECT_EQ(*angles.sensorClass, L"Sweep");
    EXPECT_EQ(angles.count1, 3);
    EXPECT_EQ(angles.count2, 3);
    EXPECT_EQ(four(angles.pitch), (Four{0, 13 * radian, 0, 23 * radian}));
    EXPECT_EQ(four(angles.roll), (Four{0, 14 * radian, 0, 24 * radian}));
    EXPECT_EQ(four(angles.azimuth), (Four{0, 15 * radian, 0, 25 * radian}));
    Latency latency;
    EXPECT_EQ(latency.ask(&vessel, 10), 0);
    EXPECT_EQ(latency.time, 10);
    EXPECT_EQ(*latency.sensorClass, L"Sweep");
    EXPECT_EQ(latency.count1, 3);
    EXPECT_EQ(latency.count2, 3);
    EXPECT_EQ(latency.latency, 0.25);
    EXPECT_EQ(four(latency.latencies), (Four{0, 16, 0, 26}));
}

struct SweepTpe {
    Number time;
    Whole count;
    std::array<Number, 6> booms;
    Array<int> fixed;
    Array<double> squat, heave, gyro, roll;
    long ask(void* vessel, double at) {
        return VesselSweepTPETmIdxConfig(vessel, at, time, count, booms[0], booms[1], booms[2], booms[3],
                                         booms[4], booms[5], fixed, squat, heave, gyro, roll);
    }
    bool isEmpty() const { return areNothing(time, count, booms, fixed, squat, heave, gyro, roll); }
};

TEST_F(SweepVessel, GivesTheParametersOfItsErrors) {
    SweepTpe given;
    EXPECT_EQ(given.ask(&vessel, 10), 0);
    EXPECT_EQ(given.time, 10);
    EXPECT_EQ(given.count, 3);
    EXPECT_EQ((std::vector<double>{given.booms.begin(), given.booms.end()}),
              (std::vector<double>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ((std::array{given.fixed[1], given.fixed[2], given.fixed[3]}), (std::array{0, 1, 1}));
    EXPECT_EQ(four(given.squat), (Four{0, 50, 0, 100}));
    EXPECT_EQ(four(given.heave), (Four{0, 60, 0, 100}));
    EXPECT_EQ(four(given.gyro), (Four{0, 7 * radian, 0, 0}));
    EXPECT_EQ(four(given.roll), (Four{0, 8 * radian, 0, 0}));
    place<SKARDepthConfig>(
        vessel, 20, [](auto& entry) { entry.addTransducer(transducer(1, 1, 1)); }, L"Swath");
    SweepTpe swath;
    EXPECT_EQ(swath.ask(&vessel, 20), 5100003);
    EXPECT_TRUE(swath.isEmpty());
}

TEST(VesselTimeIndex, TheClassOfADepthEntryIsComparedWithoutCase) {
    const TemporaryDirectory directory;
    directory.write("v.skv", "<SKARVesselConfig Version=\"2.0\"><DepthSensor><TimeStamp value=\"2012-001 "
                             "00:00:00\"><SensorClass value=\"sWEEP\"/><TransducerEntries><Transducer "
                             "Number=\"1\"><Offsets X=\"3\"/></Transducer></TransducerEntries></TimeStamp>"
                             "</DepthSensor></SKARVesselConfig>");
    long status = -1;
    void* vessel = SKARGetVesselConfiguration(directory.wide("v").c_str(), &status);
    ASSERT_NE(vessel, nullptr);
    EXPECT_EQ(status, 0);
    Depth given;
    EXPECT_EQ(given.ask(vessel, 1e10), 0);
    ASSERT_NE(given.x.values, nullptr);
    EXPECT_EQ(given.x[1], 3);
    SweepTpe tpe;
    EXPECT_EQ(tpe.ask(vessel, 1e10), 0);
    VesselConfigFree(vessel);
}

struct Codes {
    const char* name;
    long none;
    long early;
    std::function<long(void*, double)> ask;
};

// A failure leaves no output as it was before the call.
template <class Question>
long fresh(void* vessel, double at) {
    Question given;
    const long result = given.ask(vessel, at);
    EXPECT_EQ(given.isEmpty(), result != 0);
    return result;
}

template <class Function>
std::function<long(void*, double)> attitude(Function* function) {
    return [function](void* vessel, double at) {
        Attitude given;
        const long result = given.ask(function, vessel, at);
        EXPECT_EQ(given.isEmpty(), result != 0);
        return result;
    };
}

const Codes allCodes[] = {
    {"depth", 5000405, 5000405, fresh<Depth>},
    {"orientation", 5000405, 5000405, fresh<Orientation>},
    {"latency", 5000405, 5000405, fresh<Latency>},
    {"sweep", 5000405, 5000405, fresh<SweepTpe>},
    {"waterline", 5000407, 5000406, fresh<Waterline>},
    {"towed", 5000408, 5000409, fresh<Towed>},
    {"sound velocity", 5000410, 5000411, fresh<SoundVelocity>},
    {"gyro", 5000412, 5000413, attitude(VesselGyroSensorTmIdxConfig)},
    {"heave", 5000414, 5000415, attitude(VesselHeaveSensorTmIdxConfig)},
    {"navigation", 5000416, 5000417, fresh<Navigation>},
    {"pitch", 5000418, 5000419, attitude(VesselPitchSensorTmIdxConfig)},
    {"roll", 5000420, 5000421, attitude(VesselRollSensorTmIdxConfig)},
    {"draft", 5000422, 5000423, fresh<Draft>},
};

TEST(VesselTimeIndex, EachKindHasItsTwoCodes) {
    SKARVessel vessel;
    for (const Codes& each : allCodes) {
        EXPECT_EQ(each.ask(nullptr, 10), -1) << each.name;
        EXPECT_EQ(each.ask(&vessel, 10), each.none) << each.name;
    }
    const auto nothing = [](auto&) {};
    place<SKARDepthConfig>(vessel, 10, nothing, L"Sweep");
    place<SKARWaterlineHeight>(vessel, 10, nothing);
    place<SKARTowedSSSConfig>(vessel, 10, nothing);
    place<SKARSVPConfig>(vessel, 10, nothing);
    place<SKARGyroConfig>(vessel, 10, nothing);
    place<SKARHeaveConfig>(vessel, 10, nothing);
    place<SKARNavConfig>(vessel, 10, nothing);
    place<SKARPitchConfig>(vessel, 10, nothing);
    place<SKARRollConfig>(vessel, 10, nothing);
    place<SKARDraftConfig>(vessel, 10, nothing);
    for (const Codes& each : allCodes) {
        EXPECT_EQ(each.ask(&vessel, 9.999), each.early) << each.name;
        EXPECT_EQ(each.ask(&vessel, 10), 0) << each.name;
    }
}

TEST(VesselTimeIndex, OutputsThatNobodyWantsMayBeNull) {
    SKARVessel vessel;
    place<SKARDraftConfig>(vessel, 10, [](auto& entry) { entry.setDraft(1, 2); });
    int rows = 0;
    EXPECT_EQ(
        VesselDraftTmIdxConfig(&vessel, 10, nullptr, &rows, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(rows, 1);
}

TEST(VesselTimeIndex, WithoutMemoryWhatWasMadeStaysTheCallers) {
    SKARVessel vessel;
    place<SKARDepthConfig>(
        vessel, 10,
        [](auto& entry) {
            for (std::uint32_t number = 1; number <= 2000; ++number) {
                entry.addTransducer(SKARTransducerConfig(number, 1, true));
            }
        },
        L"Sweep");
    Depth given;
    const long result = [&] {
        const RefusedMemory refused(2001 * sizeof(double));
        return given.ask(&vessel, 10);
    }();
    EXPECT_EQ(result, 5000009);
    EXPECT_EQ(*given.sensorClass, L"Sweep");
    EXPECT_NE(given.scratch.values, nullptr);
    EXPECT_EQ(given.x.values, nullptr);
    EXPECT_EQ(given.z.values, nullptr);
    EXPECT_EQ(*given.comment, L"(null)");
}

TEST(VesselTimeIndex, WithoutMemoryForTheLookUpThereIsACode) {
    SKARVessel vessel;
    for (int time = 2000; time > 0; --time)
        place<SKARRollConfig>(vessel, time, [](auto&) {});
    const RefusedMemory refused(2000 * sizeof(double));
    Attitude given;
    EXPECT_EQ(given.ask(VesselRollSensorTmIdxConfig, &vessel, 10), 5000009);
    EXPECT_TRUE(given.isEmpty());
}

TEST(VesselHandle, WithoutMemoryThereIsNone) {
    const TemporaryDirectory directory;
    directory.write("v.skv", "<SKARVesselConfig Version=\"2.0\"/>" + std::string(100000, ' '));
    long status = 0;
    const std::wstring name = directory.wide("v");
    const RefusedMemory refused(100000);
    EXPECT_EQ(SKARGetVesselConfiguration(name.c_str(), &status), nullptr);
    EXPECT_EQ(status, 5000009);
}

TEST(VesselHandle, ANullNameGivesNull) {
    long status = 7;
    EXPECT_EQ(SKARGetVesselConfiguration(nullptr, &status), nullptr);
    EXPECT_EQ(status, 0);
    VesselConfigFree(nullptr);
}

TEST(VesselHandle, AFileThatIsNoVesselGivesNullOnlyIfNobodyCouldReadIt) {
    const TemporaryDirectory directory;
    long status = 0;
    EXPECT_EQ(SKARGetVesselConfiguration(directory.wide("missing").c_str(), &status), nullptr);
    EXPECT_EQ(status, 5000401);
    directory.write("other.skv", "<Other/>");
    void* vessel = SKARGetVesselConfiguration(directory.wide("other").c_str(), &status);
    EXPECT_NE(vessel, nullptr);
    EXPECT_EQ(status, 5100001);
    VesselConfigFree(vessel);
}

} // namespace
