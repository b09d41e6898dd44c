// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/DiskRemoval.h>

#include <SentrelKit/platform/linux/volumes/DeviceStack.h>
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>
#include <SentrelKit/platform/linux/volumes/SystemDisk.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <linux/loop.h>
#include <sys/mount.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

// Whether something mounted lies on that disk or partition, or on what is stacked on it.
bool standsOn(const BlockDevices& devices, const MountEntry& mount, const std::string& base) {
    const std::vector<std::string> behind = devicesOfMount(devices, mount);
    return std::any_of(behind.begin(), behind.end(),
                       [&](const std::string& device) { return devicesUnder(devices, device).contains(base); });
}

// Writes back what waits for it: the service then has little to do within its limit. A file system that may not answer
// is left to the service, which is not waited for without end.
void writeBack(const MountEntry& mount) {
    if (mount.mayNotAnswer)
        return;
    const UniqueFd folder(::open(mount.on.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
    if (folder)
        ::syncfs(folder.get());
}

bool isGone(Mounts& mounts, const MountEntry& mount) {
    const MountSnapshot now = mounts.current();
    return now && std::none_of(now->begin(), now->end(), [&](const MountEntry& entry) { return entry.id == mount.id; });
}

std::optional<Dissenter> unmountOne(Mounts& mounts, UdisksClient& service, const MountEntry& mount, bool force) {
    writeBack(mount);
    const std::string node = BlockDevices::node(mount.device);
    const UdisksAnswer answer = service.unmount(node);
    const bool isRefused = answer.outcome == UdisksAnswer::Outcome::refused;
    if (answer.outcome == UdisksAnswer::Outcome::done)
        return std::nullopt;
    if (isRefused && !force)
        return Dissenter{answer.reason};
    // Never MNT_DETACH: no file system refuses it, and the files that are open on it go down with the disk.
    if (::umount2(mount.on.c_str(), UMOUNT_NOFOLLOW | (force ? MNT_FORCE : 0)) == 0)
        return std::nullopt;
    const int error = errno;
    if (isGone(mounts, mount))
        return std::nullopt; // by others, or by the service, which only did not answer
    return Dissenter{isRefused ? answer.reason : std::generic_category().message(error)};
}

} // namespace

std::optional<Dissenter> unmountAll(Mounts& mounts, UdisksClient& service, const std::string& kernelName, bool force) {
    if (systemRunsFrom(mounts, kernelName)) // whoever asked may have been told otherwise before the mounts changed
        return Dissenter{"the system runs from this disk"};
    const MountSnapshot now = mounts.current();
    if (!now)
        return Dissenter{std::generic_category().message(errno)};
    std::optional<Dissenter> refusal;
    for (std::size_t i = now->size(); i-- > 0 && (force || !refusal);) {
        const MountEntry& mount = (*now)[i];
        if (!mount.isVisible || !standsOn(mounts.devices(), mount, kernelName))
            continue;
        std::optional<Dissenter> dissenter = unmountOne(mounts, service, mount, force);
        if (!refusal)
            refusal = std::move(dissenter);
    }
    return refusal;
}

void ejectDisk(const BlockDevices& devices, UdisksClient& service, DeviceControl& control,
               const std::string& kernelName) {
    if (!devices.components(kernelName).empty())
        return; // the mapper hands commands on to the disks below, whatever else lies on those
    const std::string node = BlockDevices::node(kernelName);
    if (service.eject(node).outcome != UdisksAnswer::Outcome::unavailable)
        return;
    const UniqueFd device = control.openUnused(node);
    if (device)
        control.control(device.get(), kernelName.starts_with("loop") ? LOOP_CLR_FD : CDROMEJECT, nullptr);
}

} // namespace sentrel::platform
