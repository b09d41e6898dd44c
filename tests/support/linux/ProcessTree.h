// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel {

/// One process as /proc shows it.
struct TreeProcess {
    std::int32_t id = 0;
    std::int32_t parent = 0;
    std::int32_t session = 0;
    std::int32_t terminal = 0;
    std::uint64_t start = 0;
    std::string command{};
    std::string program{}; ///< empty: not to be seen
    std::string group = "/";
    std::vector<std::string> arguments{};
    bool isKernelThread = false;
    char state = 'S';
    std::int32_t threads = 1;
    std::uint64_t userTicks = 0;
    std::uint64_t systemTicks = 0;
    std::uint64_t residentPages = 1000;
};

/// Reads a process tree of tests/fixtures/processes.
[[nodiscard]] std::vector<TreeProcess> readProcessTree(std::string_view name);

/// A folder with a /proc of files. The figures that tell of changes move only as told: the last id by `setLastId`, the
/// number of processes by the folders themselves.
class ProcessTree {
public:
    ProcessTree() { setLastId(1000); }
    explicit ProcessTree(std::string_view fixture);

    [[nodiscard]] platform::SystemRoot root() const { return platform::SystemRoot(folder_.path()); }
    [[nodiscard]] const TemporaryFolder& folder() const noexcept { return folder_; }

    /// Adds a process or replaces the one with its id.
    void put(const TreeProcess& process) const;
    void remove(std::int32_t id) const;
    void setLastId(std::int32_t id) const;

private:
    TemporaryFolder folder_;
};

} // namespace sentrel
