// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/SystemDisk.h>

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/volumes/DeviceStack.h>
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace sentrel::platform {

namespace {

constexpr const char* firstMountTablePath = "/proc/1/mountinfo";

constexpr auto systemTrees = std::to_array<std::string_view>(
    {"/bin",    "/boot", "/dev",    "/efi",  "/esp", "/etc",  "/gnu", "/lib",     "/lib32", "/lib64",
     "/libx32", "/nix",  "/ostree", "/proc", "/run", "/sbin", "/sys", "/sysroot", "/usr",   "/var"});
constexpr auto systemFolders = std::to_array<std::string_view>({"/", "/home", "/root", "/tmp"});

bool isSystemPlace(std::string_view path) {
    if (liesWithin(path, "/run/media"))
        return false;
    return std::find(systemFolders.begin(), systemFolders.end(), path) != systemFolders.end() ||
           std::any_of(systemTrees.begin(), systemTrees.end(),
                       [path](std::string_view tree) { return liesWithin(path, tree); });
}

// The devices that the system stands on, gathered from one mount table.
class SystemDevices {
public:
    SystemDevices(const BlockDevices& devices, const std::vector<MountEntry>& mounts)
        : devices_(devices), mounts_(mounts) {
        for (const MountEntry& mount : mounts_) {
            if (isSystemPlace(mount.on))
                addMount(mount);
        }
        addSwapSpace();
    }

    [[nodiscard]] bool contains(const std::string& device) const { return found_.contains(device); }

private:
    void addMount(const MountEntry& mount) {
        if (!seen_.insert(mount.id).second)
            return;
        for (const std::string& device : devicesOfMount(devices_, mount))
            addDevice(device);
        if (mount.type == "overlay")
            addLayers(mount.superOptions);
    }

    void addDevice(const std::string& device) {
        for (const std::string& below : devicesUnder(devices_, device)) {
            if (!found_.insert(below).second)
                continue;
            if (const std::optional<std::string> image = devices_.attribute(below, "loop/backing_file"))
                addFile(*image);
        }
    }

    void addFile(std::string_view path) {
        if (const MountEntry* mount = mountOfPath(mounts_, path))
            addMount(*mount);
    }

    // "lowerdir=/a:/b,upperdir=/c" among other options (kernel: Documentation/filesystems/overlayfs.rst).
    void addLayers(std::string_view options) {
        while (!options.empty()) {
            std::string_view option = takeUpTo(options, ',');
            const std::string_view key = takeUpTo(option, '=');
            if (key != "lowerdir" && key != "upperdir")
                continue;
            while (!option.empty())
                addFile(takeUpTo(option, ':'));
        }
    }

    // A heading, then a line for each: path, type and figures, between blanks.
    void addSwapSpace() {
        const std::optional<std::string> table = devices_.root().read("/proc/swaps");
        std::string_view lines = table ? std::string_view(*table) : std::string_view();
        takeUpTo(lines, '\n');
        while (!lines.empty()) {
            std::string_view line = takeUpTo(lines, '\n');
            const std::string path = unescaped(takeUpTo(line, ' '));
            if (!path.starts_with("/dev/"))
                addFile(path);
            else if (const std::optional<std::string> device = devices_.kernelName(path.substr(path.rfind('/') + 1)))
                addDevice(*device);
        }
    }

    const BlockDevices& devices_;
    const std::vector<MountEntry>& mounts_;
    std::set<std::string> found_;
    std::set<std::int64_t> seen_;
};

} // namespace

bool systemRunsFrom(Mounts& mounts, const std::string& kernelName) {
    const BlockDevices& devices = mounts.devices();
    const MountSnapshot own = mounts.current();
    if (!own)
        return true;
    // Not to be read where process 1 is hidden: then this process's own are all that there is.
    const std::vector<MountEntry> first = mountsIn(
        devices,
        devices.root().read(firstMountTablePath, std::numeric_limits<std::size_t>::max()).value_or(std::string()));
    const SystemDevices ofOwn(devices, *own);
    const SystemDevices ofFirst(devices, first);
    std::set<std::string> asked = devicesUnder(devices, kernelName);
    if (const std::string whole = devices.wholeDisk(kernelName); whole != kernelName)
        asked.erase(whole); // what lies on a partition's siblings is not on it
    return std::any_of(asked.begin(), asked.end(),
                       [&](const std::string& device) { return ofOwn.contains(device) || ofFirst.contains(device); });
}

} // namespace sentrel::platform
