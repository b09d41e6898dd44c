// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <string>
#include <string_view>

namespace sentrel {

/// A folder of kernel files that a listing tells, such as one among the fixtures: a line "path=content" is a file, with
/// a line end after the content, a line "path->target" a symbolic link; what begins with "#" is a comment.
class FileTree {
public:
    FileTree() = default;
    explicit FileTree(std::string_view listing) { add(listing); }

    /// Adds what another listing tells; a file that is there changes in place.
    void add(std::string_view listing) const;

    /// Removes a file or a folder.
    void remove(std::string_view name) const { folder_.remove(name); }

    [[nodiscard]] const std::string& path() const noexcept { return folder_.path(); }
    [[nodiscard]] platform::SystemRoot root() const { return platform::SystemRoot(folder_.path()); }

protected:
    [[nodiscard]] const TemporaryFolder& folder() const noexcept { return folder_; }

private:
    TemporaryFolder folder_;
};

/// The listing of that name among the fixtures, tests/fixtures/machines/<name>.tree.
[[nodiscard]] std::string machineListing(const std::string& name);

} // namespace sentrel
