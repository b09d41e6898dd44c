// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/LinuxGraphicsService.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace sentrel::platform {
namespace {

using Bytes = PropertyList::Bytes;

const Bytes intelID{0xa0, 0x3e, 0, 0};
const Bytes nvidiaID{0x8d, 0x1c, 0, 0};

std::string text(const PropertyList* value) {
    const Bytes* bytes = value ? value->as<Bytes>() : nullptr;
    return bytes ? std::string(bytes->begin(), bytes->end()) : "(none)";
}

class LinuxGraphics : public testing::Test {
protected:
    void device(const std::string& address, const std::string& code, const std::string& vendor,
                const std::string& number, const std::string& bootDisplay = "") const {
        const std::string path = "sys/bus/pci/devices/" + address;
        folder.write(path + "/class", code + "\n");
        folder.write(path + "/vendor", vendor + "\n");
        folder.write(path + "/device", number + "\n");
        if (!bootDisplay.empty())
            folder.write(path + "/boot_vga", bootDisplay + "\n");
    }

    void card(int number, const std::string& address) const {
        folder.link("sys/class/drm/card" + std::to_string(number) + "/device", "../../../bus/pci/devices/" + address);
    }

    void connector(const std::string& name, const std::string& status) const {
        folder.write("sys/class/drm/" + name + "/status", status + "\n");
    }

    // A laptop with a bridge and both kinds of processors.
    void laptop() const {
        device("0000:00:00.0", "0x060000", "0x8086", "0x3e34");
        device("0000:00:02.0", "0x030000", "0x8086", "0x3ea0", "1");
        device("0000:01:00.0", "0x030200", "0x10de", "0x1c8d", "0");
        card(0, "0000:00:02.0");
        card(1, "0000:01:00.0");
        folder.makeFolder("sys/class/drm/renderD128");
        folder.write("sys/class/drm/version", "drm 1.1.0\n");
        folder.write("usr/share/misc/pci.ids",
                     "10de  NVIDIA Corporation\n\t1c8d  GP107M [GeForce GTX 1050 Mobile]\n"
                     "8086  Intel Corporation\n\t3ea0  WhiskeyLake-U GT2 [UHD Graphics 620]\n");
    }

    std::optional<Bytes> activeDeviceID() {
        Bytes deviceID;
        return service.activeDeviceID(deviceID) ? std::optional(deviceID) : std::nullopt;
    }

    TemporaryFolder folder;
    LinuxGraphicsService service{SystemRoot(folder.path())};
};

TEST_F(LinuxGraphics, NamesDisplayControllersOfEveryKind) {
    laptop();
    const auto devices = service.pciDevices();
    ASSERT_TRUE(devices);
    ASSERT_EQ(devices->size(), 3u);
    EXPECT_EQ((*devices)[0].at("IOName"), PropertyList("pci"));
    EXPECT_EQ((*devices)[1].at("IOName"), PropertyList("display"));
    EXPECT_EQ((*devices)[1].at("device-id"), PropertyList(intelID));
    EXPECT_EQ(text(&(*devices)[1].at("model")), "Intel UHD Graphics 620");
    EXPECT_EQ((*devices)[2].at("IOName"), PropertyList("display"));
    EXPECT_EQ((*devices)[2].at("device-id"), PropertyList(nvidiaID));
    EXPECT_EQ(text(&(*devices)[2].at("model")), "NVIDIA GeForce GTX 1050 Mobile");
}

TEST_F(LinuxGraphics, GivesNoModelWithoutADatabase) {
    laptop();
    folder.remove("usr");
    const auto devices = service.pciDevices();
    ASSERT_TRUE(devices);
    EXPECT_EQ((*devices)[1].count("model"), 0u);
}

TEST_F(LinuxGraphics, LeavesOutDevicesThatCannotBeRead) {
    device("0000:00:02.0", "0x030000", "0x8086", "");
    device("0000:00:03.0", "0x030000", "junk", "0x1234");
    device("0000:00:04.0", "0x030000", "0x8086", "0x123456789");
    device("0000:00:05.0", "0x030000", "0x8086", "0x12345");
    device("0000:00:06.0", "", "0x8086", "0x1234");
    const auto devices = service.pciDevices();
    ASSERT_TRUE(devices);
    ASSERT_EQ(devices->size(), 1u);
    EXPECT_EQ((*devices)[0].at("IOName"), PropertyList("pci"));
}

TEST_F(LinuxGraphics, FailsWithoutAPciBus) {
    errno = 0;
    EXPECT_FALSE(service.pciDevices());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(activeDeviceID());
    EXPECT_EQ(errno, ENODEV);
}

TEST_F(LinuxGraphics, TakesTheCardWithTheConnectedDisplay) {
    laptop();
    connector("card0-eDP-1", "disconnected");
    connector("card1-HDMI-A-1", "connected");
    EXPECT_EQ(activeDeviceID(), nvidiaID);
    connector("card0-eDP-1", "connected");
    EXPECT_EQ(activeDeviceID(), intelID); // both: the boot display's is the main one
    connector("card1-HDMI-A-1", "disconnected");
    EXPECT_EQ(activeDeviceID(), intelID);
}

TEST_F(LinuxGraphics, TakesTheFirstConnectedCardWhereNeitherBooted) {
    laptop();
    device("0000:00:02.0", "0x030000", "0x8086", "0x3ea0", "0");
    connector("card0-eDP-1", "connected");
    connector("card1-HDMI-A-1", "connected");
    EXPECT_EQ(activeDeviceID(), intelID);
}

TEST_F(LinuxGraphics, KeepsTheConnectorsOfCardsOneAndTenApart) {
    laptop();
    connector("card10-HDMI-A-1", "connected");
    EXPECT_EQ(activeDeviceID(), intelID); // no card 10: the boot display
    connector("card1-HDMI-A-1", "connected");
    EXPECT_EQ(activeDeviceID(), nvidiaID);
}

TEST_F(LinuxGraphics, FindsTheDisplayAmongMoreConnectorsThanOneReadingHolds) {
    laptop();
    for (int number = 0; number < 300; ++number)
        connector("card0-" + std::string(60, 'D') + std::to_string(number), "disconnected");
    connector("card1-HDMI-A-1", "connected");
    EXPECT_EQ(activeDeviceID(), nvidiaID);
}

TEST_F(LinuxGraphics, LeavesTheBytesAsTheyWereWithoutADisplay) {
    Bytes deviceID{7};
    EXPECT_FALSE(service.activeDeviceID(deviceID));
    EXPECT_EQ(deviceID, Bytes{7});
    laptop();
    EXPECT_TRUE(service.activeDeviceID(deviceID));
    EXPECT_EQ(deviceID, intelID);
}

TEST_F(LinuxGraphics, LooksForTheDisplayOnlyAfterTheKernelToldOfADevice) {
    laptop();
    folder.write("sys/kernel/uevent_seqnum", "100\n");
    connector("card0-eDP-1", "disconnected");
    connector("card1-HDMI-A-1", "connected");
    EXPECT_EQ(activeDeviceID(), nvidiaID);
    connector("card0-eDP-1", "connected");
    EXPECT_EQ(activeDeviceID(), nvidiaID) << "nothing was told of it yet";
    folder.write("sys/kernel/uevent_seqnum", "101\n");
    EXPECT_EQ(activeDeviceID(), intelID);
}

TEST_F(LinuxGraphics, FallsBackToTheBootDisplay) {
    laptop();
    connector("card0-eDP-1", "unknown");
    EXPECT_EQ(activeDeviceID(), intelID);
    folder.remove("sys/class/drm");
    EXPECT_EQ(activeDeviceID(), intelID);
    device("0000:00:02.0", "0x030000", "0x8086", "0x3ea0", "0");
    EXPECT_FALSE(activeDeviceID());
}

} // namespace
} // namespace sentrel::platform
