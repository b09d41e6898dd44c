// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/DeviceStack.h>

#include <SentrelKit/platform/linux/common/Folder.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace sentrel::platform {

std::set<std::string> devicesUnder(const BlockDevices& devices, const std::string& kernelName) {
    std::set<std::string> found;
    std::vector<std::string> waiting{kernelName};
    while (!waiting.empty()) {
        const std::string device = std::move(waiting.back());
        waiting.pop_back();
        if (!found.insert(device).second)
            continue;
        waiting.push_back(devices.wholeDisk(device));
        for (std::string& component : devices.components(device))
            waiting.push_back(std::move(component));
    }
    return found;
}

std::vector<std::string> devicesOfMount(const BlockDevices& devices, const MountEntry& mount) {
    if (mount.device.empty())
        return {};
    if (mount.type == "btrfs") {
        const std::string all = "/sys/fs/btrfs"; // a folder for each that is mounted
        for (const std::string& fileSystem : namesIn(devices.root(), all).value_or(std::vector<std::string>())) {
            std::string folder = all;
            folder.append("/").append(fileSystem).append("/devices");
            std::optional<std::vector<std::string>> members = namesIn(devices.root(), folder);
            if (members && std::find(members->begin(), members->end(), mount.device) != members->end())
                return std::move(*members);
        }
    }
    return {mount.device};
}

} // namespace sentrel::platform
