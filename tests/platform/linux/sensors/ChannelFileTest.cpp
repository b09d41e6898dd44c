// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/sensors/ChannelFile.h>

#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

TEST(ChannelFile, IsReadFromItsName) {
    EXPECT_EQ(parseChannelFile("temp1_input"), (ChannelFile{SensorKind::temperature, 1, "input"}));
    EXPECT_EQ(parseChannelFile("fan12_min_alarm"), (ChannelFile{SensorKind::fan, 12, "min_alarm"}));
    EXPECT_EQ(parseChannelFile("in0_label"), (ChannelFile{SensorKind::voltage, 0, "label"}));
    EXPECT_EQ(parseChannelFile("curr3_crit"), (ChannelFile{SensorKind::current, 3, "crit"}));
    EXPECT_EQ(parseChannelFile("power1_average"), (ChannelFile{SensorKind::power, 1, "average"}));
    EXPECT_EQ(parseChannelFile("energy2_input"), (ChannelFile{SensorKind::energy, 2, "input"}));
}

TEST(ChannelFile, IsNothingElse) {
    for (const std::string name : {"",
                                   "name",
                                   "temp",
                                   "temp1",
                                   "temp1_",
                                   "temp_input",
                                   "temp-1_input",
                                   "temp+1_input",
                                   "temp1x_input",
                                   "temp99999999999_input",
                                   "pwm1",
                                   "pwm1_enable",
                                   "intrusion0_alarm",
                                   "humidity1_input",
                                   "freq1_input",
                                   "in_flight",
                                   "inx_input",
                                   "fan",
                                   "power",
                                   "power/runtime",
                                   "curr1",
                                   "update_interval"})
        EXPECT_FALSE(parseChannelFile(name)) << name;
}

TEST(ChannelFile, HasTheKernelsUnitsOfEachKind) {
    EXPECT_EQ(kernelUnits(SensorKind::temperature), 1000);
    EXPECT_EQ(kernelUnits(SensorKind::voltage), 1000);
    EXPECT_EQ(kernelUnits(SensorKind::current), 1000);
    EXPECT_EQ(kernelUnits(SensorKind::power), 1000000);
    EXPECT_EQ(kernelUnits(SensorKind::energy), 1000000);
    EXPECT_EQ(kernelUnits(SensorKind::fan), 1);
}

} // namespace
} // namespace sentrel::platform
