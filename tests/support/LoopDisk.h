#pragma once

#include "TemporaryFolder.h"

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

/// Runs a program without a shell and waits for it; throws, with its name, if it fails.
void runProgram(const std::vector<std::string>& arguments);

} // namespace sentrel
