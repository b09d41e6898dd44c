#include <SentrelKit/platform/linux/DiskRemoval.h>

#include <SentrelKit/platform/linux/LinuxMounts.h>
#include <SentrelKit/platform/linux/MountTable.h>
#include <SentrelKit/platform/linux/UdisksClient.h>

#include <cerrno>
#include <linux/cdrom.h>
#include <linux/loop.h>
#include <sys/mount.h>
#include <system_error>
#include <vector>

namespace sentrel::platform {

namespace {

constexpr int stackLimit = 16; // deeper stacks than this are taken for a ring

// Whether a device is that disk or partition, lies on it, or is stacked on something that does.
bool standsOn(const BlockDevices& devices, const std::string& device, const std::string& base, int depth = 0) {
    const std::string whole = devices.wholeDisk(device);
    if (device == base || whole == base)
        return true;
    if (depth == stackLimit)
        return false;
    for (const std::string& component : devices.components(whole)) {
        if (standsOn(devices, component, base, depth + 1))
            return true;
    }
    return false;
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
    const std::optional<std::vector<MountEntry>> mounts = readMountTable(devices.root());
    if (!mounts)
        return Dissenter{std::generic_category().message(errno)};
    const std::vector<bool> visible = visibleMounts(*mounts);
    for (std::size_t i = mounts->size(); i-- > 0;) {
        const std::optional<std::string> device = visible[i] ? deviceOfMount(devices, (*mounts)[i]) : std::nullopt;
        if (!device || !standsOn(devices, *device, kernelName))
            continue;
        if (std::optional<Dissenter> dissenter = unmountOne(BlockDevices::node(*device), (*mounts)[i].on, force))
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
