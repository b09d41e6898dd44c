// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/HardwareDatabase.h>

#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

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
    EXPECT_EQ(displayName({"Intel Corporation", "Meteor Lake-P [Intel Arc Graphics]"}, 1), "Intel Arc Graphics");
    EXPECT_EQ(displayName({"Intel Corporation", "Intelligent [Intelligent One]"}, 1), "Intel Intelligent One");
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

// A compiled database that knows one device: a trie of one node, as systemd lays it out (its hwdb-internal.h).
std::string compiledDatabase(const std::string& alias, const std::string& vendor, const std::string& model) {
    std::string strings;
    const auto number = [](std::uint64_t value) {
        std::string bytes;
        for (int i = 0; i < 8; ++i)
            bytes += static_cast<char>(value >> (8 * i));
        return bytes;
    };
    constexpr std::uint64_t header = 80;
    constexpr std::uint64_t node = 24;
    constexpr std::uint64_t child = 16;
    constexpr std::uint64_t value = 16;
    constexpr std::uint64_t nodes = node + 2 * value;
    const auto text = [&](const std::string& content) {
        const std::uint64_t place = header + nodes + strings.size();
        strings += content + '\0';
        return number(place);
    };
    std::string tree = text(alias) + number(0) + number(2); // no children, two values
    tree += text(" ID_MODEL_FROM_DATABASE") + text(model);
    tree += text(" ID_VENDOR_FROM_DATABASE") + text(vendor);
    return "KSLPHHRH" + number(252) + number(header + nodes + strings.size()) + number(header) + number(node) +
           number(child) + number(value) + number(header) + number(nodes) + number(strings.size()) + tree + strings;
}

// The name of a device in a machine whose root is that folder.
std::string nameIn(const TemporaryFolder& machine, std::uint16_t vendor, std::uint16_t device) {
    std::array<int, 2> answer{};
    if (::pipe(answer.data()) != 0)
        return {};
    const pid_t child = ::fork();
    if (child == 0) {
        if (::geteuid() != 0 && ::unshare(CLONE_NEWUSER) != 0) // where all users may have a root of their own
            ::_exit(1);
        if (::chroot(machine.path().c_str()) != 0 || ::chdir("/") != 0)
            ::_exit(1);
        const auto names = lookUpPciNames(SystemRoot(), vendor, device);
        const std::string name = names ? displayName(*names, device) : "none";
        ::_exit(::write(answer[1], name.data(), name.size()) < 0 ? 1 : 0);
    }
    ::close(answer[1]);
    std::array<char, 256> name{};
    const ssize_t size = ::read(answer[0], name.data(), name.size());
    ::close(answer[0]);
    ::waitpid(child, nullptr, 0);
    return {name.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

TEST(HardwareDatabase, AsksTheCompiledOneFirstAndTheTextForWhatThatDoesNotKnow) {
    const TemporaryFolder machine;
    machine.makeFolder("etc");
    EXPECT_EQ(nameIn(machine, 0x8086, 0x3ea0), "none");
    machine.write("usr/share/misc/pci.ids", database);
    EXPECT_EQ(nameIn(machine, 0x8086, 0x3ea0), "Intel UHD Graphics 620");
    machine.write("etc/udev/hwdb.bin",
                  compiledDatabase("pci:v00008086d00003EA0", "Intel Corporation", "Lake [UHD Graphics, compiled]"));
    EXPECT_EQ(nameIn(machine, 0x8086, 0x3ea0), "Intel UHD Graphics, compiled");
    EXPECT_EQ(nameIn(machine, 0x8086, 0x5a85), "Intel HD Graphics 500");
    EXPECT_EQ(nameIn(machine, 0x8086, 0x0001), "Intel Device 0001");
    machine.remove("usr");
    EXPECT_EQ(nameIn(machine, 0x8086, 0x3ea0), "Intel UHD Graphics, compiled");
    EXPECT_EQ(nameIn(machine, 0x8086, 0x5a85), "none");
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
