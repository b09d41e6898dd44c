// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ControlGroups.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace sentrel::platform {

namespace {

constexpr std::size_t mountInfoLimit = std::size_t{4} << 20;

// Whether a list such as "rw,cpu,cpuacct" has the word.
bool hasWord(std::string_view list, std::string_view word) noexcept {
    while (!list.empty())
        if (takeUpTo(list, ',') == word)
            return true;
    return false;
}

// The folders of a controller, or for "" of the unified hierarchy; none where it is not to be had.
std::vector<std::string> foldersOf(std::string_view selfCgroup, std::string_view mountInfo,
                                   std::string_view controller) {
    const auto path = controlGroupPath(selfCgroup, controller);
    const auto mount = path ? controlGroupMount(mountInfo, controller) : std::nullopt;
    return mount ? controlGroupFolders(*mount, *path) : std::vector<std::string>();
}

// The least value that a file has in any of the folders.
template <class Read>
auto least(const std::vector<std::string>& folders, Read read) {
    decltype(read(std::string())) result;
    for (const std::string& folder : folders) {
        const auto value = read(folder);
        if (value && (!result || *value < *result))
            result = value;
    }
    return result;
}

// A figure in bytes; absent for "max" and for the figure that stands for it in version 1, the highest number of whole
// pages.
std::optional<std::uint64_t> readBytes(const SystemRoot& root, const std::string& path) {
    constexpr std::uint64_t unlimited = std::uint64_t{1} << 62;
    const std::optional<std::string> text = root.readLine(path);
    const std::optional<std::uint64_t> bytes = text ? toNumber(*text) : std::nullopt;
    return bytes && *bytes < unlimited ? bytes : std::nullopt;
}

} // namespace

std::optional<std::string_view> controlGroupPath(std::string_view selfCgroup, std::string_view controller) noexcept {
    while (std::optional<std::string_view> line = takeLine(selfCgroup)) {
        const std::string_view hierarchy = takeUpTo(*line, ':');
        const std::string_view controllers = takeUpTo(*line, ':');
        const bool isIt =
            controller.empty() ? hierarchy == "0" && controllers.empty() : hasWord(controllers, controller);
        if (isIt && line->starts_with('/'))
            return *line;
    }
    return std::nullopt;
}

std::optional<ControlGroupMount> controlGroupMount(std::string_view mountInfo, std::string_view controller) {
    while (std::optional<std::string_view> line = takeLine(mountInfo)) {
        for (int skipped = 0; skipped < 3; ++skipped) // the ids of the mount and of the one it is on, the device
            takeWord(*line);
        const std::string_view root = takeWord(*line);
        const std::string_view point = takeWord(*line);
        std::string_view word = takeWord(*line);
        while (!word.empty() && word != "-") // options of the mount, of any number
            word = takeWord(*line);
        const std::string_view type = takeWord(*line);
        takeWord(*line); // the source
        const std::string_view options = takeWord(*line);
        const bool isIt = controller.empty() ? type == "cgroup2" : type == "cgroup" && hasWord(options, controller);
        if (isIt && root.starts_with('/') && point.starts_with('/'))
            return ControlGroupMount{std::string(root), std::string(point)};
    }
    return std::nullopt;
}

std::vector<std::string> controlGroupFolders(const ControlGroupMount& mount, std::string_view path) {
    const std::string_view root = mount.root == "/" ? std::string_view() : std::string_view(mount.root);
    std::vector<std::string> folders;
    // A path such as "/../other" is of a group beyond this process's view.
    if (path.find("/..") == std::string_view::npos && liesWithin(path, root)) {
        for (std::string_view below = path.substr(root.size()); below.size() > 1;
             below = below.substr(0, below.rfind('/')))
            folders.push_back(mount.point + std::string(below));
    }
    folders.push_back(mount.point);
    return folders;
}

std::optional<double> parseProcessorQuota(std::string_view text) noexcept {
    const std::optional<std::int64_t> quota = takeNumber<std::int64_t>(text);
    const std::optional<std::int64_t> period = quota ? takeNumber<std::int64_t>(text) : std::nullopt;
    if (!period || *quota <= 0 || *period <= 0)
        return std::nullopt;
    return static_cast<double>(*quota) / static_cast<double>(*period);
}

std::optional<ControlGroup> readControlGroup(const SystemRoot& root) {
    const std::optional<std::string> groups = root.read("/proc/self/cgroup");
    const std::optional<std::string> mounts = groups ? root.read("/proc/self/mountinfo", mountInfoLimit) : std::nullopt;
    if (!mounts)
        return std::nullopt;
    const std::vector<std::string> unified = foldersOf(*groups, *mounts, "");
    const std::vector<std::string> cpu = foldersOf(*groups, *mounts, "cpu");
    const std::vector<std::string> memory = foldersOf(*groups, *mounts, "memory");
    if (unified.empty() && cpu.empty() && memory.empty()) {
        errno = ENOENT;
        return std::nullopt;
    }

    ControlGroup group;
    group.version = cpu.empty() && memory.empty() ? 2 : 1;
    group.processors = least(cpu.empty() ? unified : cpu, [&](const std::string& folder) {
        if (cpu.empty())
            return parseProcessorQuota(root.readLine(folder + "/cpu.max").value_or(""));
        return parseProcessorQuota(root.readLine(folder + "/cpu.cfs_quota_us").value_or("") + " " +
                                   root.readLine(folder + "/cpu.cfs_period_us").value_or(""));
    });
    const bool isUnified = memory.empty();
    const std::vector<std::string>& folders = isUnified ? unified : memory;
    group.memoryLimit = least(folders, [&](const std::string& folder) {
        return readBytes(root, folder + (isUnified ? "/memory.max" : "/memory.limit_in_bytes"));
    });
    if (!folders.empty())
        group.memoryUsed =
            readBytes(root, folders.front() + (isUnified ? "/memory.current" : "/memory.usage_in_bytes"));
    return group;
}

} // namespace sentrel::platform
