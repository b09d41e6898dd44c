// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The control group of this process (cgroups(7)): its own files and those of the groups above it as far as they can be
/// seen, in the unified hierarchy or, where a controller is bound to one, in a hierarchy of version 1.
///
///               version 2        version 1
/// processors    cpu.max          cpu.cfs_quota_us by cpu.cfs_period_us
/// memoryLimit   memory.max       memory.limit_in_bytes
/// memoryUsed    memory.current   memory.usage_in_bytes

#include <SentrelKit/platform/HostFacts.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The process's path in the hierarchy of a controller, or for "" in the unified one, by /proc/self/cgroup; absent if
/// it is in none.
[[nodiscard]] std::optional<std::string_view> controlGroupPath(std::string_view selfCgroup,
                                                               std::string_view controller) noexcept;

/// Where a hierarchy is mounted, and which of its folders is seen there.
struct ControlGroupMount {
    std::string root;  ///< in the hierarchy
    std::string point; ///< in the file system
    friend bool operator==(const ControlGroupMount&, const ControlGroupMount&) = default;
};

/// The mount of a controller's hierarchy, or for "" of the unified one, by /proc/self/mountinfo; absent if there is
/// none.
[[nodiscard]] std::optional<ControlGroupMount> controlGroupMount(std::string_view mountInfo,
                                                                 std::string_view controller);

/// The folders from a group's own up to the mount's, the own one first. A group that lies outside what is mounted has
/// the mount's alone.
[[nodiscard]] std::vector<std::string> controlGroupFolders(const ControlGroupMount& mount, std::string_view path);

/// Reads "50000 100000" as 0.5 processors; absent for "max 100000", a quota below 0 and what is no pair.
[[nodiscard]] std::optional<double> parseProcessorQuota(std::string_view text) noexcept;

/// Absent, with errno set, if the process is in no hierarchy that is mounted.
[[nodiscard]] std::optional<ControlGroup> readControlGroup(const SystemRoot& root);

} // namespace sentrel::platform
