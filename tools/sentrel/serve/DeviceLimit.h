// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Figures.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// So many devices of one kind are told unless the configuration says otherwise.
constexpr std::size_t usualDeviceLimit = 1000;

/// Bounds the devices of each kind that a resource tells (volumes, disks, interfaces, sensors), since each costs the
/// engine series for as long as it keeps what it stored, and a machine may have thousands that nobody looks at. Beyond
/// the limit those that were told stay told for as long as they are there; others follow in the kernel's order, volumes
/// in that of their mount points. One thread at a time.
class DeviceLimit {
public:
    explicit DeviceLimit(std::size_t most) : most_(most) {}

    /// What there may be for how many were left out; there is one for each such resource.
    [[nodiscard]] static std::vector<TableInfo> infos();

    /// Takes what is beyond the limit out of a resource's tables, and adds how many devices that were.
    void apply(std::string_view resource, std::vector<Table>& tables);

    /// How many the last call left out.
    [[nodiscard]] std::size_t leftOut() const noexcept { return leftOut_; }

private:
    using Kind = std::pair<std::string_view, std::string_view>; // the list and the label that tells its things apart
    using Names = std::set<std::string, std::less<>>;

    void apply(const Kind& kind, std::vector<Table>& tables);

    const std::size_t most_;
    std::size_t leftOut_ = 0;
    std::map<Kind, Names> told_; // of the kinds that are beyond it
};

} // namespace tool
