// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The mounts of this process's own namespace and the devices behind them.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

inline constexpr const char* mountTablePath = "/proc/self/mountinfo";

/// All mounts at one moment, judged (VolumeRules.h) and with their devices; nobody changes it any more.
using MountSnapshot = std::shared_ptr<const std::vector<MountEntry>>;

/// The mount table, read once for each of its states: again when the kernel tells of a change, and when the process has
/// another namespace or root folder, or is a child, than at the last reading. A table whose changes nobody tells of
/// (that of captured files) is read each time. Any thread; waits for no file system.
class Mounts {
public:
    /// The devices outlive it.
    explicit Mounts(const BlockDevices& devices) : devices_(devices) {}

    /// The mounts now, with an entry of type "rootfs" for a root folder that is no mount point; null, with errno set,
    /// if the table cannot be read.
    [[nodiscard]] MountSnapshot current();

    /// The mounts as they were last read, without asking whether they changed since.
    [[nodiscard]] MountSnapshot latest();

    [[nodiscard]] const BlockDevices& devices() const noexcept { return devices_; }

private:
    /// Whose table an open file shows.
    struct Owner {
        unsigned process = 0;                            ///< the descriptor of a parent shares its notices with it
        std::array<std::uint64_t, 4> namespaceAndRoot{}; ///< their devices and inodes; zeros where they cannot be told

        friend bool operator==(const Owner&, const Owner&) = default;
    };

    [[nodiscard]] Owner ownerNow() const;
    [[nodiscard]] bool isCurrent(const Owner& owner) const SENTREL_REQUIRES(lock_);
    void read(const Owner& owner) SENTREL_REQUIRES(lock_);

    const BlockDevices& devices_;
    Lock lock_;
    UniqueFd table_ SENTREL_GUARDED_BY(lock_);
    Owner owner_ SENTREL_GUARDED_BY(lock_);
    MountSnapshot snapshot_ SENTREL_GUARDED_BY(lock_);
};

/// The mount table of any process as it stands in a text, with the devices behind the mounts.
[[nodiscard]] std::vector<MountEntry> mountsIn(const BlockDevices& devices, std::string_view table);

/// What is mounted, as a volume is known by it. Boot loaders mount "/dev/root", which is no device: then it is the
/// node of the device itself.
[[nodiscard]] std::string mountSource(const MountEntry& mount);

/// The first visible one of the mounts that is of a block device; null if it is not mounted.
[[nodiscard]] const MountEntry* mountOfDevice(const std::vector<MountEntry>& mounts, const std::string& kernelName);

/// The label that a mounted file system tells itself, empty if it has none; absent if it cannot tell, or if it is one
/// that may not answer. Labels that change while mounted are seen here first, and often nowhere else.
[[nodiscard]] std::optional<std::string> labelOfMount(const SystemRoot& root, const MountEntry& mount);

/// The label of the file system on a device, as udev or the device itself has it; absent, without asking, if it is a
/// loop device whose file lies where nobody may answer.
[[nodiscard]] std::optional<std::string>
labelOfDevice(const BlockDevices& devices, const std::vector<MountEntry>& mounts, const std::string& kernelName);

} // namespace sentrel::platform
