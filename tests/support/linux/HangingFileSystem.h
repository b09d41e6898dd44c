// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Await.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <thread>

namespace sentrel {

/// A user-space file system that answers until it is told to hang; then every question to it waits. Its root holds one
/// folder, "inside". Nothing that it answers is kept by the kernel. Needs the program to be in a mount namespace of its
/// own.
class HangingFileSystem {
public:
    /// Mounted from there, on a new folder unless one is given, with so many blocks of 4096 bytes. Throws if that
    /// fails. The type is "fuse.", then the subtype.
    explicit HangingFileSystem(const std::string& from, std::uint64_t blocks = 1000,
                               const std::string& subtype = "sshfs", const std::string& path = {});
    /// What waits fails; detaches the file system with all that is mounted below it.
    ~HangingFileSystem();
    HangingFileSystem(const HangingFileSystem&) = delete;
    HangingFileSystem& operator=(const HangingFileSystem&) = delete;

    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    [[nodiscard]] std::string inside() const { return path_ + "/inside"; }

    void hang();
    void answer();

    /// Waits until a question waits; false if none comes for as long as a test may take.
    [[nodiscard]] bool isAsked();

    struct State;

private:
    TemporaryFolder folder_;
    std::string path_;
    State* state_ = nullptr;
    pid_t server_ = -1;
};

/// Runs the closure on a thread of its own. If it does not end for as long as a test may take, the file system answers
/// so that it does, and the result is false.
template <class Closure>
[[nodiscard]] bool endsThough(HangingFileSystem& hanging, const Closure& closure) {
    Event ended;
    std::thread thread([&] {
        closure();
        ended.happened();
    });
    const bool hasEnded = ended.await();
    if (!hasEnded)
        hanging.answer();
    thread.join();
    return hasEnded;
}

} // namespace sentrel
