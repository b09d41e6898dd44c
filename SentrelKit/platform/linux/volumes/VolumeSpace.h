// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The space of file systems, asked so that one which never answers holds nobody up. A mount that answers is asked
/// directly. One that may not is asked on a thread of its own, with one outstanding question at most, which is waited
/// for up to 250 ms.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/MountedFileSystem.h>
#include <SentrelKit/platform/linux/common/TextMap.h>
#include <SentrelKit/platform/linux/volumes/BlockingCalls.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace sentrel::platform {

/// The kernel's answer for a path right now; absent, with errno set, on failure. Waits for as long as it takes.
[[nodiscard]] std::optional<FileSystemSpace> askSpace(const char* path) noexcept;

/// The question to one mount that may not answer. Any thread.
class SpaceQuestion final : public BlockingCall, public std::enable_shared_from_this<SpaceQuestion> {
public:
    explicit SpaceQuestion(MountEntry mount) : mount_(std::move(mount)) {}

    [[nodiscard]] const MountEntry& mount() const noexcept { return mount_; }

    /// Puts the question unless it is outstanding.
    void put(BlockingCalls& calls);

    /// The last answer, waiting for the very first one only; it says so if the question after it had its time and is
    /// still outstanding. Absent, with errno set: the mount failed, or gave no answer yet (ETIMEDOUT).
    [[nodiscard]] std::optional<FileSystemSpace> lastAnswer();

    /// The same, waiting for the outstanding question.
    [[nodiscard]] std::optional<FileSystemSpace> newAnswer();

private:
    void run() noexcept override;
    void await() SENTREL_REQUIRES(lock_);
    [[nodiscard]] std::optional<FileSystemSpace> answer() SENTREL_REQUIRES(lock_);

    const MountEntry mount_;
    Lock lock_;
    Condition changed_ SENTREL_GUARDED_BY(lock_);
    RunningFlag outstanding_ SENTREL_GUARDED_BY(lock_);
    std::chrono::steady_clock::time_point waitEnd_ SENTREL_GUARDED_BY(lock_);
    bool answered_ SENTREL_GUARDED_BY(lock_) = false;
    std::optional<FileSystemSpace> space_ SENTREL_GUARDED_BY(lock_);
    int error_ SENTREL_GUARDED_BY(lock_) = 0;
};

/// The space of all mounts. Any thread.
class VolumeSpace {
public:
    explicit VolumeSpace(std::size_t mostThreads = 64) : calls_(mostThreads) {}

    /// Tells which mounts there are now, and puts the first questions to all volumes that may not answer, so that the
    /// waits for them run side by side. Questions to a mount that stays go on; a mount that took another one's place is
    /// asked anew.
    void setMounts(const std::vector<MountEntry>& mounts);

    /// The space of a volume that was told, by its mount point; `known` is false, and nothing is asked, for any other
    /// path. One that may not answer gives its answer before, but for the very first, and leaves the new one to the
    /// next call: so samples never wait.
    [[nodiscard]] std::optional<FileSystemSpace> ofVolume(std::string_view path, const char* terminated, bool& known);

    /// The space of any mount that may not answer, as it is now.
    [[nodiscard]] std::optional<FileSystemSpace> ofMount(const MountEntry& mount);

private:
    [[nodiscard]] std::shared_ptr<SpaceQuestion> questionTo(const MountEntry& mount) SENTREL_REQUIRES(lock_);

    BlockingCalls calls_;
    Lock lock_;
    std::vector<std::shared_ptr<SpaceQuestion>> questions_ SENTREL_GUARDED_BY(lock_);
    // By mount point; null for those that are asked directly.
    TextMap<std::shared_ptr<SpaceQuestion>> volumes_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
