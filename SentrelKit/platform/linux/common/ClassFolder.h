// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/DeviceEvents.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sentrel::platform {

/// A folder of /sys/class whose devices come and go. One thread at a time.
class ClassFolder {
public:
    /// The folder at that absolute path, which need not be there.
    ClassFolder(const SystemRoot& root, std::string_view absolute) : path_(root.path(absolute)), events_(root) {}

    /// Whether other devices are in it than at the question before, the first question included: devices are told by
    /// their names and inodes, so that one that takes the name of another is another one. The folder is listed only
    /// after the kernel told of a device. Takes no memory.
    [[nodiscard]] bool hasChanged() noexcept;

private:
    std::string path_;
    DeviceEvents events_;
    std::optional<std::uint64_t> devices_; // a digest
};

} // namespace sentrel::platform
