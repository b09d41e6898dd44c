// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/ResolverFile.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <netinet/in.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace sentrel::platform {

namespace {

constexpr std::string_view resolverFile = "/etc/resolv.conf";

// systemd-resolved answers at these addresses and writes down here whom it asks itself (systemd-resolved.service(8)).
constexpr std::array<std::string_view, 2> localNameServices{"127.0.0.53", "127.0.0.54"};
constexpr std::string_view upstreamFile = "/run/systemd/resolve/resolv.conf";

constexpr std::uint32_t folderEvents = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE |
                                       IN_MODIFY | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_MASK_ADD;

// The file itself is watched too: a file that is mounted over another tells its folder nothing.
constexpr std::uint32_t fileEvents = IN_CLOSE_WRITE | IN_MODIFY | IN_DELETE_SELF | IN_MOVE_SELF | IN_MASK_ADD;

constexpr int maximumLinks = 16;

bool isAddress(std::string_view text) {
    if (text.find('\0') != std::string_view::npos)
        return false;
    const std::string address(text.substr(0, text.find('%')));
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    return inet_pton(AF_INET, address.c_str(), bytes.data()) == 1 ||
           inet_pton(AF_INET6, address.c_str(), bytes.data()) == 1;
}

// The path that a symbolic link names.
std::optional<std::string> pathBehind(const std::string& link) {
    std::optional<std::string> target = linkTarget(link);
    if (!target || target->empty())
        return std::nullopt;
    return target->front() == '/' ? target : parentFolder(link) + "/" + *target;
}

bool onlyLocalService(const std::vector<std::string>& servers) {
    for (const std::string& server : servers) {
        if (server != localNameServices[0] && server != localNameServices[1])
            return false;
    }
    return !servers.empty();
}

} // namespace

std::vector<std::string> parseNameServers(std::string_view content) {
    constexpr std::string_view keyword = "nameserver";
    std::vector<std::string> servers;
    while (std::optional<std::string_view> line = takeLine(content)) {
        if (!line->starts_with(keyword) || takeWord(*line) != keyword)
            continue;
        const std::string_view address = takeWord(*line);
        if (isAddress(address))
            servers.emplace_back(address);
    }
    return servers;
}

std::optional<std::vector<std::string>> readNameServers(const SystemRoot& root) {
    const auto content = root.read(resolverFile);
    if (!content)
        return std::nullopt;
    std::vector<std::string> servers = parseNameServers(*content);
    if (onlyLocalService(servers)) {
        if (const auto upstream = root.read(upstreamFile)) {
            std::vector<std::string> asked = parseNameServers(*upstream);
            if (!asked.empty())
                return asked;
        }
    }
    if (servers.empty())
        return std::nullopt;
    return servers;
}

bool ResolverFileWatch::open() {
    inotify_.reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!inotify_)
        return false;
    watchAnew();
    return !watched_.empty();
}

// Every step first watches a place, then looks at it: what changes after the look gives a notice.
void ResolverFileWatch::watchAnew() {
    for (auto watch = watched_.begin(); watch != watched_.end(); watch = watched_.upper_bound(watch->first))
        ::inotify_rm_watch(inotify_.get(), watch->first);
    watched_.clear();
    watchFile(root_.path(resolverFile));
    watchFile(root_.path(upstreamFile));
}

void ResolverFileWatch::watchFile(std::string path) {
    for (int links = 0; links < maximumLinks; ++links) {
        std::string missing = path;
        while (!watchFolder(parentFolder(missing), std::string(lastPathComponent(missing))) &&
               parentFolder(missing) != "/")
            missing = parentFolder(missing);
        if (missing != path) {
            // The folder may have come while the one above it was not yet watched.
            if (::access(missing.c_str(), F_OK) == 0)
                continue;
            return;
        }
        if (auto target = pathBehind(path)) {
            path = std::move(*target);
            continue;
        }
        const int watch = ::inotify_add_watch(inotify_.get(), path.c_str(), fileEvents);
        if (watch >= 0)
            watched_.emplace(watch, std::string());
        return;
    }
}

bool ResolverFileWatch::watchFolder(const std::string& folder, const std::string& name) {
    const int watch = ::inotify_add_watch(inotify_.get(), folder.c_str(), folderEvents);
    if (watch < 0)
        return false;
    watched_.emplace(watch, name);
    return true;
}

bool ResolverFileWatch::takeNotices() {
    alignas(inotify_event) std::array<char, 4096> buffer{};
    bool concerned = false;
    for (;;) {
        const ssize_t size = ::read(inotify_.get(), buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            break;
        for (const char* place = buffer.data(); place < buffer.data() + size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(place);
            place += sizeof(inotify_event) + event->len;
            const auto [first, last] = watched_.equal_range(event->wd);
            for (auto watch = first; watch != last; ++watch)
                concerned = concerned || event->len == 0 || watch->second == event->name;
            concerned = concerned || (event->mask & IN_Q_OVERFLOW) != 0;
        }
    }
    if (concerned)
        watchAnew();
    return concerned;
}

} // namespace sentrel::platform
