// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The resolver's configuration file: the DNS servers in it, and notices when it changes.

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <vector>

namespace sentrel::platform {

/// The addresses of the "nameserver" lines, in their order; lines that hold no address are passed over, as the
/// resolver does.
[[nodiscard]] std::vector<std::string> parseNameServers(std::string_view content);

/// The DNS servers of the machine; absent if there are none. Where the file only names the name service of this
/// machine itself, the servers that this one asks.
[[nodiscard]] std::optional<std::vector<std::string>> readNameServers(const SystemRoot& root);

/// Notices of anything that may change what `readNameServers` gives, also when the file is replaced, is a link, or does
/// not yet exist. One thread at a time.
class ResolverFileWatch {
public:
    explicit ResolverFileWatch(SystemRoot root) : root_(std::move(root)) {}

    /// Begins to watch. False, with errno set, on failure.
    [[nodiscard]] bool open();

    /// Readable when there are notices.
    [[nodiscard]] int descriptor() const noexcept { return inotify_.get(); }

    /// Takes the notices that have arrived, without waiting. True if one of them concerns the file.
    [[nodiscard]] bool takeNotices();

private:
    void watchAnew();
    void watchFile(std::string path);
    bool watchFolder(const std::string& folder, const std::string& name);

    SystemRoot root_;
    UniqueFd inotify_;
    std::multimap<int, std::string> watched_; // what a watch waits for: a name in a folder; empty for a file
};

} // namespace sentrel::platform
