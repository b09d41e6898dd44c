#include <SentrelKit/platform/linux/DiskRemoval.h>

#include <SentrelKit/platform/linux/DeviceStack.h>
#include <SentrelKit/platform/linux/LinuxMounts.h>
#include <SentrelKit/platform/linux/MountTable.h>
#include <SentrelKit/platform/linux/SystemDisk.h>
#include <SentrelKit/platform/linux/UdisksClient.h>

#include <algorithm>
#include <cerrno>
#include <linux/cdrom.h>
#include <linux/loop.h>
#include <sys/mount.h>
#include <system_error>
#include <vector>

namespace sentrel::platform {

namespace {

// Whether something mounted lies on that disk or partition, or on what is stacked on it.
bool standsOn(const BlockDevices& devices, const MountEntry& mount, const std::string& base) {
    const std::vector<std::string> behind = devicesOfMount(devices, mount);
    return std::any_of(behind.begin(), behind.end(),
                       [&](const std::string& device) { return devicesUnder(devices, device).contains(base); });
}

std::optional<Dissenter> unmountOne(const std::string& node, const std::string& mountPoint, bool force) {
    const UdisksAnswer answer = udisksUnmount(node, force);
    if (answer.outcome == UdisksAnswer::Outcome::done)
        return std::nullopt;
    if (answer.outcome == UdisksAnswer::Outcome::refused)
        return Dissenter{answer.reason};
    if (::umount2(mountPoint.c_str(), UMOUNT_NOFOLLOW | (force ? MNT_DETACH : 0)) == 0)
        return std::nullopt;
    return Dissenter{std::generic_category().message(errno)};
}

} // namespace

std::optional<Dissenter> unmountAll(const BlockDevices& devices, const std::string& kernelName, bool force) {
    if (systemRunsFrom(devices, kernelName)) // whoever asked may have been told otherwise before the mounts changed
        return Dissenter{"the system runs from this disk"};
    const std::optional<std::vector<MountEntry>> mounts = readMountTable(devices.root());
    if (!mounts)
        return Dissenter{std::generic_category().message(errno)};
    const std::vector<bool> visible = visibleMounts(*mounts);
    for (std::size_t i = mounts->size(); i-- > 0;) {
        const MountEntry& mount = (*mounts)[i];
        if (!visible[i] || !standsOn(devices, mount, kernelName))
            continue;
        const std::string node = BlockDevices::node(deviceOfMount(devices, mount).value_or(kernelName));
        if (std::optional<Dissenter> dissenter = unmountOne(node, mount.on, force))
            return dissenter;
    }
    return std::nullopt;
}

void ejectDisk(DeviceControl& control, const std::string& kernelName) {
    const std::string node = BlockDevices::node(kernelName);
    if (udisksEject(node).outcome != UdisksAnswer::Outcome::unavailable)
        return;
    const UniqueFd device = control.open(node);
    if (device)
        control.control(device.get(), kernelName.starts_with("loop") ? LOOP_CLR_FD : CDROMEJECT, nullptr);
}

} // namespace sentrel::platform
