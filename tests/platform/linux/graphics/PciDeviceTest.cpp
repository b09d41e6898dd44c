// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/PciDevice.h>

#include "tests/support/linux/FileTree.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(PciDevice, ReadsNumbersWithTheirPrefix) {
    EXPECT_EQ(hexadecimal<std::uint16_t>("0x8086"), 0x8086);
    for (const char* const text : {"", "0x", "8086", "0x12345", "0x80g6", "-0x1", "0x-1", "0x 1"})
        EXPECT_FALSE(hexadecimal<std::uint16_t>(text)) << text;
}

TEST(PciDevice, TellsWhatItIs) {
    const FileTree machine(machineListing("laptop"));
    const std::string folder = "/sys/bus/pci/devices/0000:00:02.0";
    const auto numbers = readPciNumbers(machine.root(), folder);
    ASSERT_TRUE(numbers);
    EXPECT_EQ(numbers->vendor, 0x8086);
    EXPECT_EQ(numbers->device, 0x3ea0);
    EXPECT_TRUE(isDisplayController(machine.root(), folder));
    EXPECT_FALSE(pciDisplayName(machine.root(), folder)) << "without a database";
    machine.add("usr/share/misc/pci.ids=8086  Intel Corporation");
    EXPECT_EQ(pciDisplayName(machine.root(), folder), "Intel Device 3ea0");
    EXPECT_FALSE(readPciNumbers(machine.root(), "/sys/bus/pci/devices/none"));
    machine.add("sys/devices/pci0000:00/0000:00:02.0/class=0x020000");
    EXPECT_FALSE(isDisplayController(machine.root(), folder));
}

} // namespace
} // namespace sentrel::platform
