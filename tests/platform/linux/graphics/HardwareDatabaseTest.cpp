// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/HardwareDatabase.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

constexpr const char* database = "#\n#\tList of PCI ID's\n#\n\n"
                                 "1002  Advanced Micro Devices, Inc. [AMD/ATI]\n"
                                 "\t73df  Navi 22 [Radeon RX 6700/6700 XT/6750 XT / 6800M/6850M XT]\n"
                                 "\t\t1458 2409  Not this\n"
                                 "10de  NVIDIA Corporation\n"
                                 "\t1c8d  GP107M [GeForce GTX 1050 Mobile]\n"
                                 "\t\t1028 07be  Some laptop\n"
                                 "8086  Intel Corporation\n"
                                 "\t3ea0  WhiskeyLake-U GT2 [UHD Graphics 620]\n"
                                 "\t5a85  HD Graphics 500\r\n"
                                 "c000  Odd Vendor\n"
                                 "C 03  Display controller\n"
                                 "\t00  VGA compatible controller\n";

TEST(HardwareDatabase, FindsVendorAndDevice) {
    EXPECT_EQ(findPciNames(database, 0x8086, 0x3ea0),
              (PciNames{"Intel Corporation", "WhiskeyLake-U GT2 [UHD Graphics 620]"}));
    EXPECT_EQ(findPciNames(database, 0x8086, 0x5a85), (PciNames{"Intel Corporation", "HD Graphics 500"}));
}

TEST(HardwareDatabase, LooksForADeviceUnderItsOwnVendorOnly) {
    EXPECT_EQ(findPciNames(database, 0x10de, 0x3ea0), (PciNames{"NVIDIA Corporation", std::nullopt}));
    EXPECT_EQ(findPciNames(database, 0x10de, 0x1028), (PciNames{"NVIDIA Corporation", std::nullopt}));
    EXPECT_EQ(findPciNames(database, 0xc000, 0x0000), (PciNames{"Odd Vendor", std::nullopt}));
    EXPECT_FALSE(findPciNames(database, 0x1234, 0x3ea0));
}

TEST(HardwareDatabase, SurvivesATornFile) {
    for (const char* text :
         {"", "\n", "\t", "8086", "8086 ", "8086\n\t3ea0", "\t3ea0  Orphan\n", "8086  \n\t3ea0  X\n"}) {
        const auto names = findPciNames(text, 0x8086, 0x3ea0);
        EXPECT_FALSE(names && names->device) << '"' << text << '"';
    }
    EXPECT_EQ(findPciNames("8086  Intel", 0x8086, 1), (PciNames{"Intel", std::nullopt}));
}

TEST(HardwareDatabase, ShowsTheShortVendorAndTheTradeName) {
    struct Case {
        std::uint16_t vendor, device;
        const char* name;
    };
    for (const Case& each :
         {Case{0x8086, 0x3ea0, "Intel UHD Graphics 620"}, Case{0x8086, 0x5a85, "Intel HD Graphics 500"},
          Case{0x10de, 0x1c8d, "NVIDIA GeForce GTX 1050 Mobile"},
          Case{0x1002, 0x73df, "AMD/ATI Radeon RX 6700/6700 XT/6750 XT / 6800M/6850M XT"},
          Case{0x8086, 0x7d55, "Intel Device 7d55"}})
        EXPECT_EQ(displayName(*findPciNames(database, each.vendor, each.device), each.device), each.name);
    EXPECT_EQ(displayName({"Maker, Inc.", "Odd ][ []"}, 1), "Maker Odd ][ []");
}

TEST(HardwareDatabase, LooksInEitherPlaceAndFindsNothingInNeither) {
    const TemporaryFolder folder;
    const SystemRoot root(folder.path());
    EXPECT_FALSE(lookUpPciNames(root, 0x8086, 0x3ea0));
    folder.write("usr/share/hwdata/pci.ids", database);
    EXPECT_TRUE(lookUpPciNames(root, 0x8086, 0x3ea0));
    folder.write("usr/share/misc/pci.ids", "8086  Other\n");
    EXPECT_EQ(lookUpPciNames(root, 0x8086, 0x3ea0)->vendor, "Other");
}

TEST(HardwareDatabase, OfThisMachineKnowsTheOldestIntegratedProcessors) {
    if (!SystemRoot().open("/usr/share/misc/pci.ids") && !SystemRoot().open("/usr/share/hwdata/pci.ids"))
        GTEST_SKIP() << "no pci.ids file on this machine";
    const auto names = lookUpPciNames(SystemRoot(), 0x8086, 0x0166);
    ASSERT_TRUE(names && names->device);
    EXPECT_NE(displayName(*names, 0x0166).find("Intel"), std::string::npos);
    EXPECT_NE(names->device->find("Graphics"), std::string::npos);
}

} // namespace
} // namespace sentrel::platform
