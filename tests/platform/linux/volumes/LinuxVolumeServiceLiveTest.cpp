// SPDX-License-Identifier: Apache-2.0
// The block devices of this machine beside what lsblk lists.

#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/LinuxPlatform.h>

#include "tests/support/ChildProgram.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

struct Listed {
    std::int64_t size = 0;
    bool removable = false;
    bool readOnly = false;
    bool rotational = false;
    std::string type;
    std::string parent;
};

std::map<std::string, Listed> listedBlockDevices() {
    ChildProgram lsblk({"/usr/bin/lsblk", "-b", "-n", "-l", "-o", "NAME,SIZE,RM,RO,ROTA,TYPE,PKNAME"});
    std::map<std::string, Listed> devices;
    while (const std::optional<std::string> line = lsblk.readLine()) {
        std::istringstream words(*line);
        std::string name;
        Listed device;
        words >> name >> device.size >> device.removable >> device.readOnly >> device.rotational >> device.type;
        words >> device.parent; // none of a disk
        devices[name] = device;
    }
    return devices;
}

std::vector<DiskDevice> ownBlockDevices() {
    LinuxPlatform machine;
    std::vector<DiskDevice> devices;
    if (machine.volumes().diskDevices(devices) != Availability::available)
        devices.clear();
    return devices;
}

const DiskDevice* find(const std::vector<DiskDevice>& devices, const std::string& name) {
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&](const auto& each) { return each.name == name; });
    return found == devices.end() ? nullptr : &*found;
}

// Loop devices of other programs come, go and change: what differs between two readings of ours is left out.
TEST(LinuxVolumeServiceLive, DescribesBlockDevicesAsLsblkDoes) {
    const std::vector<DiskDevice> before = ownBlockDevices();
    const std::map<std::string, Listed> listed = listedBlockDevices();
    const std::vector<DiskDevice> after = ownBlockDevices();
    std::size_t compared = 0;
    for (const DiskDevice& device : before) {
        const DiskDevice* const again = find(after, device.name);
        const auto other = listed.find(device.name);
        if (!again || again->size != device.size || again->readOnly != device.readOnly || other == listed.end())
            continue;
        EXPECT_EQ(device.size, other->second.size) << device.name;
        EXPECT_EQ(device.removable, other->second.removable) << device.name;
        EXPECT_EQ(device.readOnly, other->second.readOnly) << device.name;
        EXPECT_EQ(device.rotational, other->second.rotational) << device.name;
        if (other->second.type == "part") {
            EXPECT_EQ(device.whole, other->second.parent) << device.name;
        } else if (other->second.type == "disk" || other->second.type == "loop") {
            EXPECT_EQ(device.whole, device.name);
        }
        ++compared;
    }
    EXPECT_TRUE(compared > 0 || listed.empty());
}

} // namespace
} // namespace sentrel::platform
