// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/GPU.h>

#include <SentrelKit/platform/linux/LinuxPlatform.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/system/GPUAllocations.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace sentrel {
namespace {

// Each sample took memory 36 times there.
TEST(GPU, SamplesLinuxWithoutAllocating) {
    const TemporaryFolder tree;
    const auto device = [&tree](const std::string& address, const char* vendor, const char* number, const char* boots) {
        const std::string path = "sys/bus/pci/devices/" + address;
        tree.write(path + "/class", "0x030000\n");
        tree.write(path + "/vendor", vendor);
        tree.write(path + "/device", number);
        tree.write(path + "/boot_vga", boots);
    };
    device("0000:00:02.0", "0x8086\n", "0x3ea0\n", "1\n");
    device("0000:01:00.0", "0x10de\n", "0x1c8d\n", "0\n");
    tree.write("usr/share/misc/pci.ids", "10de  NVIDIA Corporation\n8086  Intel Corporation\n");
    for (const auto& [card, address] : {std::pair("card0", "0000:00:02.0"), std::pair("card1", "0000:01:00.0")})
        tree.link("sys/class/drm/" + std::string(card) + "/device", "../../../bus/pci/devices/" + std::string(address));
    tree.write("sys/class/drm/card1-HDMI-A-1/status", "connected\n");
    platform::LinuxPlatform linux_(platform::SystemRoot(tree.path()));
    const platform::Override override(linux_);
    GPU gpu;
    EXPECT_TRUE(gpu.hasBoth());
    EXPECT_TRUE(gpu.isUsingDiscreteGPU());
    expectNoAllocations(gpu);
    tree.write("sys/class/drm/card1-HDMI-A-1/status", "disconnected\n");
    expectNoAllocations(gpu);
    EXPECT_TRUE(gpu.isUsingIntegratedGPU());
}

} // namespace
} // namespace sentrel
