// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Machines that do not exist and whose figures move all the same, to look at a host with.

#include <SentrelKit/platform/Platform.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace simulation {

/// The machines that there are.
enum class Kind : std::uint8_t {
    laptop,    ///< one battery, Wi-Fi, a built-in disk and a stick that can be ejected
    hot,       ///< a laptop with everything near its limits, the heat above all
    fullDisks, ///< five volumes that are nearly full, one of them on a drive that fails
    server,    ///< many processors, disks and cables; services alone run on it
};

/// The kind of a name: "laptop", "hot", "full-disks" or "server". Absent for any other text.
std::optional<Kind> kindNamed(std::string_view name);

struct Plan;

/// A simulated machine. Its clocks, its queues, its desktop and its preferences are those of another machine, normally
/// of the process; all else is made of values, which follow from the seed and from the time since its making and are
/// computed when they are asked for. It contacts nobody. Any thread may ask.
class Machine {
public:
    /// A machine that has been up for days already. `process` outlives it.
    explicit Machine(Kind kind, sentrel::platform::Platform& process = sentrel::platform::current(),
                     std::uint32_t seed = 1);
    /// One with habits of its own.
    explicit Machine(const Plan& plan, sentrel::platform::Platform& process = sentrel::platform::current(),
                     std::uint32_t seed = 1);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    /// For a `sentrel::System` or a `sentrel::platform::Override`, which it outlives.
    [[nodiscard]] sentrel::platform::Platform& platform() noexcept;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace simulation
