// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What /sys tells of one PCI device, by the absolute path of its folder.

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sentrel::platform {

/// Reads "0x8086"; absent if it does not fit.
template <class Integer>
std::optional<Integer> hexadecimal(std::string_view text) noexcept {
    return text.starts_with("0x") ? toNumber<Integer>(text.substr(2), 16) : std::nullopt;
}

/// The numbers of a device: who makes it and which one it is.
struct PciNumbers {
    std::uint16_t vendor = 0;
    std::uint16_t device = 0;
};

/// Reads "vendor" and "device"; absent if either cannot be read.
[[nodiscard]] std::optional<PciNumbers> readPciNumbers(const SystemRoot& root, const std::string& folder);

/// Whether the device is a display controller.
[[nodiscard]] bool isDisplayController(const SystemRoot& root, const std::string& folder);

/// The name to show of a device (displayName in HardwareDatabase.h); absent if it is in no database.
[[nodiscard]] std::optional<std::string> pciDisplayName(const SystemRoot& root, const std::string& folder);

} // namespace sentrel::platform
