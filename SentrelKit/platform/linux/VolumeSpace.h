#pragma once

/// The space of file systems, asked so that one which never answers holds nobody up. A local file system is asked
/// directly. A network or user-space one is asked by a thread of its own mount, with one outstanding question at most:
/// its first question ever is waited for, up to 250 ms; later ones never: they give the answer before and leave the
/// new one to the next call.

#include <SentrelKit/base/system/ThreadSafety.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/TextMap.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The kernel's answer for a path right now; absent, with errno set, on failure. Waits for as long as it takes.
[[nodiscard]] std::optional<FileSystemSpace> askSpace(const char* path) noexcept;

/// The questions to one mount that may not answer. Any thread.
class SpaceQuestion {
public:
    explicit SpaceQuestion(std::string path);
    ~SpaceQuestion();
    SpaceQuestion(const SpaceQuestion&) = delete;
    SpaceQuestion& operator=(const SpaceQuestion&) = delete;

    /// Puts the question unless one is outstanding.
    void put();

    /// Puts the question and gives the last answer, waiting for the first one only. Absent, with errno set: the mount
    /// failed, or gave no answer yet (ETIMEDOUT).
    [[nodiscard]] std::optional<FileSystemSpace> answer();

private:
    struct State;
    std::shared_ptr<State> state_; // shared with the mount's thread, which may never return
};

class VolumeSpace {
public:
    /// A mount point and whether its file system may not answer.
    struct Mount {
        std::string_view path;
        bool mayNotAnswer = false;
    };

    /// Tells which mounts there are now. Questions to a mount that stays go on.
    void setMounts(const std::vector<Mount>& mounts);

    /// Puts the first questions to all mounts that may not answer, so that the waits for them run side by side.
    void askAhead();

    /// The space of a mount that was told; `known` is false, and nothing is asked, for any other path.
    [[nodiscard]] std::optional<FileSystemSpace> ofMount(std::string_view path, const char* terminated, bool& known);

private:
    Lock lock_;
    // Null for mounts that are asked directly.
    TextMap<std::shared_ptr<SpaceQuestion>> mounts_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
