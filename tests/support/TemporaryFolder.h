// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace sentrel {

/// A new folder that goes away, with all that is in it, at the end of the scope.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    [[nodiscard]] std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

    /// Writes a file in place (same inode), making the folders above it.
    void write(std::string_view name, std::string_view content) const;

    /// Makes a folder and those above it.
    void makeFolder(std::string_view name) const;

    /// Makes a symbolic link.
    void link(std::string_view name, const std::string& target) const;

    /// Removes a file or a folder with all that is in it.
    void remove(std::string_view name) const;

private:
    std::string path_;
};

} // namespace sentrel
