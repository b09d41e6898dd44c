// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/volumes/BlockDevices.h>

#include <sstream>

namespace sentrel {

/// The block devices of a captured machine, with their properties from the records of its udev database
/// (/run/udev/data/b8:0 and so on, a line "E:KEY=value" for each). The library that reads the database of the real
/// machine knows no other root.
inline platform::BlockDevices capturedDevices(const platform::SystemRoot& root) {
    const auto property = [root](const std::string& kernelName, const char* key) -> std::optional<std::string> {
        const auto number = root.readLine("/sys/class/block/" + kernelName + "/dev");
        std::istringstream record(number ? root.read("/run/udev/data/b" + *number).value_or("") : "");
        const std::string beginning = std::string("E:") + key + '=';
        for (std::string line; std::getline(record, line);) {
            if (line.starts_with(beginning))
                return line.substr(beginning.size());
        }
        return std::nullopt;
    };
    return {root, property};
}

} // namespace sentrel
