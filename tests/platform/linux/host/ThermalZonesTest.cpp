// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ThermalZones.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

class Zones {
public:
    void temperature(int zone, const std::string& value) const { folder_.write(name(zone) + "/temp", value + "\n"); }

    void trip(int zone, int number, const std::string& kind, const std::string& value) const {
        const std::string stem = name(zone) + "/trip_point_" + std::to_string(number);
        folder_.write(stem + "_type", kind + "\n");
        folder_.write(stem + "_temp", value + "\n");
    }

    // The zones of a laptop: the processor's with every kind of point, the board's with none that acts.
    void laptop() const {
        temperature(0, "40000");
        trip(0, 0, "critical", "105000");
        trip(0, 1, "hot", "100000");
        trip(0, 2, "passive", "95000");
        trip(0, 3, "active", "55000");
        temperature(1, "99000");
        trip(1, 0, "passive", "0");
    }

    [[nodiscard]] ThermalZones find() const {
        ThermalZones zones{SystemRoot(folder_.path())};
        zones.find();
        return zones;
    }

    void removeZone(int zone) const { folder_.remove(name(zone)); }
    [[nodiscard]] std::string path() const { return folder_.path(); }

private:
    static std::string name(int zone) { return "sys/class/thermal/thermal_zone" + std::to_string(zone); }

    TemporaryFolder folder_;
};

TEST(ThermalZones, HoldEachZoneAgainstItsOwnTripPoints) {
    const Zones machine;
    machine.laptop();
    ThermalZones zones = machine.find();
    struct Case {
        const char* temperature;
        ThermalState state;
    };
    for (const Case& each : {Case{"40000", ThermalState::nominal}, Case{"54999", ThermalState::nominal},
                             Case{"55000", ThermalState::fair}, Case{"94999", ThermalState::fair},
                             Case{"95000", ThermalState::serious}, Case{"100000", ThermalState::critical},
                             Case{"120000", ThermalState::critical}, Case{"-5000", ThermalState::nominal}}) {
        machine.temperature(0, each.temperature);
        EXPECT_EQ(zones.state(), each.state) << each.temperature;
    }
}

TEST(ThermalZones, TellTheWorstOfAllZones) {
    const Zones machine;
    machine.laptop();
    machine.temperature(2, "70000");
    machine.trip(2, 0, "passive", "65000");
    EXPECT_EQ(machine.find().state(), ThermalState::serious);
}

TEST(ThermalZones, AreNominalWhereThereAreNone) {
    const Zones machine;
    EXPECT_EQ(machine.find().state(), ThermalState::nominal);
    EXPECT_EQ(ThermalZones(SystemRoot(machine.path())).state(), ThermalState::nominal);
}

TEST(ThermalZones, LeaveOutWhatCannotBeReadOrMakesNoSense) {
    const Zones machine;
    for (const char* temperature : {"", "N/A", "99999999999999999999", "0x50"}) {
        machine.temperature(0, temperature);
        machine.trip(0, 0, "critical", "1000");
        EXPECT_EQ(machine.find().state(), ThermalState::nominal) << temperature;
    }
    machine.temperature(0, "90000");
    for (const char* point : {"", "N/A", "0", "-274000", "99999999999999999999"}) {
        machine.trip(0, 0, "critical", point);
        EXPECT_EQ(machine.find().state(), ThermalState::nominal) << point;
    }
    machine.trip(0, 0, "unheard-of", "1000");
    EXPECT_EQ(machine.find().state(), ThermalState::nominal);
}

TEST(ThermalZones, GoOnWithoutAZoneThatWentAway) {
    const Zones machine;
    machine.temperature(0, "90000");
    machine.trip(0, 0, "passive", "80000");
    ThermalZones zones = machine.find();
    machine.removeZone(0);
    zones.find();
    EXPECT_EQ(zones.state(), ThermalState::nominal);
}

} // namespace
} // namespace sentrel::platform
