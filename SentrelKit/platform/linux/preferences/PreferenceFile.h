// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace sentrel::platform {

/// One version of a file. Its descriptor stays open, so that no later version can have the same file number.
struct PreferenceFileVersion {
    UniqueFd fd;
    struct stat status {};
    std::shared_ptr<const PropertyList::Dictionary> content; ///< null for a file that holds no values by key
    int error = 0;                                           ///< why, as errno
};

/// One property-list file of values by key that several processes read and change. Any thread.
class PreferenceFile {
public:
    using Content = std::shared_ptr<const PropertyList::Dictionary>;

    explicit PreferenceFile(std::string path) : path_(std::move(path)) {}

    /// The content of the file as it is now; empty when there is none or it cannot be read.
    [[nodiscard]] Content read();

    /// Changes the newest content under the lock between processes. The function edits a copy and returns whether there
    /// is anything to write. False, with the file as it was and a line on the standard error stream, on any failure.
    [[nodiscard]] bool change(const std::function<bool(PropertyList::Dictionary&)>& edit);

private:
    using Version = PreferenceFileVersion;

    [[nodiscard]] const Version& newestVersion() SENTREL_REQUIRES(lock_);
    [[nodiscard]] bool replace(const PropertyList::Dictionary& content, const std::string& target);

    const std::string path_;
    Lock changing_; ///< held by the thread of this process that changes the file, around the lock between processes
    Lock lock_;
    std::optional<Version> version_ SENTREL_GUARDED_BY(lock_);
};

/// How an address is kept among preferences, as macOS does: a file's as its path, any other as a keyed archive.
[[nodiscard]] PropertyList keptFromAddress(const PropertyList::Address& address);
[[nodiscard]] std::optional<PropertyList::Address> addressFromKept(const PropertyList& kept);

} // namespace sentrel::platform
