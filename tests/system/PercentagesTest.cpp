// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/system/Battery.h>
#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/system/Memory.h>

#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace sentrel {
namespace {

std::string printed(const auto& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

// Percentages of one byte used to come out as control characters.
TEST(Percentages, PrintAsNumbers) {
    ScriptedMachine machine;
    const Memory memory;
    const Disk disk;
    const Battery battery;
    const Disk::Volume volume;
    const Memory::Percents shares = memory.percents();
    EXPECT_EQ(printed(memory.usage()), "0");
    EXPECT_EQ(printed(shares.wired) + printed(shares.active) + printed(shares.compressed) + printed(shares.free),
              "0000");
    EXPECT_EQ(printed(disk.usage()), "0");
    EXPECT_EQ(printed(volume.usagePercent()), "0");
    EXPECT_EQ(printed(battery.health()), "0");
}

} // namespace
} // namespace sentrel
