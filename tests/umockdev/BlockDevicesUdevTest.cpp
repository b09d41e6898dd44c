// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <umockdev.h>

namespace sentrel::platform {
namespace {

struct Unref {
    void operator()(UMockdevTestbed* bed) const noexcept { g_object_unref(bed); }
};

// Devices whose records the library of udev itself reads.
TEST(BlockDevicesOfUdev, HaveTheModelAndLabelThatUdevKeeps) {
    const char* preloaded = std::getenv("LD_PRELOAD");
    if (!preloaded || !std::strstr(preloaded, "umockdev"))
        GTEST_SKIP() << "not run with the preloaded library";
    const std::unique_ptr<UMockdevTestbed, Unref> bed(umockdev_testbed_new());
    const char* const attributes[] = {"dev", "8:0", nullptr};
    const char* const properties[] = {"DEVNAME",         "/dev/sda",    "ID_MODEL_ENC", "SSD\\x201\\x20TB\\x20",
                                      "ID_FS_LABEL_ENC", "My\\x20Disk", nullptr};
    g_free(umockdev_testbed_add_devicev(bed.get(), "block", "sda", nullptr, const_cast<char**>(attributes),
                                        const_cast<char**>(properties)));
    const BlockDevices devices{SystemRoot()};
    EXPECT_EQ(devices.model("sda"), "SSD 1 TB");
    EXPECT_EQ(devices.label("sda"), "My Disk");
    EXPECT_EQ(udevProperty("sda", "ID_NO_SUCH"), std::nullopt);
    EXPECT_EQ(udevProperty("sdb", "ID_MODEL_ENC"), std::nullopt);
}

} // namespace
} // namespace sentrel::platform
