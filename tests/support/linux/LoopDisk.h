// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace sentrel {

/// A file with an ext4 file system on a loop device, which goes away with its last mount or with this object. Needs the
/// program to be in a mount namespace of its own.
class LoopDisk {
public:
    LoopDisk(const std::string& label, std::uint64_t megabytes);
    ~LoopDisk();
    LoopDisk(const LoopDisk&) = delete;
    LoopDisk& operator=(const LoopDisk&) = delete;

    [[nodiscard]] const std::string& node() const noexcept { return node_; } ///< such as "/dev/loop0"
    [[nodiscard]] std::string device() const { return node_.substr(node_.rfind('/') + 1); }
    [[nodiscard]] std::string path() const { return folder_.path("mnt"); }

    void mount() const;
    void unmount() const;
    /// As the label tool of the file system does it, mounted or not.
    void setLabel(const std::string& label) const;

private:
    TemporaryFolder folder_;
    std::string node_;
};

/// A file in two parts, an ext4 file system on each, on a loop device with a partition for each. It goes away like a
/// LoopDisk; its file has no name any more. Needs the program to be in a mount namespace of its own.
class DividedLoopDisk {
public:
    DividedLoopDisk();
    ~DividedLoopDisk();
    DividedLoopDisk(const DividedLoopDisk&) = delete;
    DividedLoopDisk& operator=(const DividedLoopDisk&) = delete;

    [[nodiscard]] const std::string& node() const noexcept { return node_; } ///< of the whole disk
    [[nodiscard]] std::string node(int part) const { return node_ + 'p' + static_cast<char>('0' + part); } ///< 1 or 2
    [[nodiscard]] std::string device(int part) const { return node(part).substr(node_.rfind('/') + 1); }

    void mount(int part, const std::string& path) const;

private:
    std::string node_;
    int device_ = -1; // keeps the loop device until the first mount
};

/// Runs a program without a shell and waits for it; throws, with its name, if it fails.
void runProgram(const std::vector<std::string>& arguments);

} // namespace sentrel
