// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/NumberFile.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>

namespace sentrel::platform {

/// Whether the kernel may have other devices than before: it counts what it tells of devices that come, go and change
/// (/sys/kernel/uevent_seqnum), for all name spaces, so that folders of /sys need not be listed at each sample to see
/// it. What is told of a device is counted once it stands in its folders, or no longer does. One thread at a time.
class DeviceEvents {
public:
    explicit DeviceEvents(const SystemRoot& root) : count_(root.path("/sys/kernel/uevent_seqnum")) {}

    /// Whether anything was told since the question before. True for the first question, and always where the machine
    /// does not count. Takes no memory.
    [[nodiscard]] bool anyNew() noexcept {
        const std::optional<std::int64_t> before = seen_;
        seen_ = count_.read();
        return !seen_ || seen_ != before;
    }

private:
    NumberFile count_;
    std::optional<std::int64_t> seen_;
};

} // namespace sentrel::platform
