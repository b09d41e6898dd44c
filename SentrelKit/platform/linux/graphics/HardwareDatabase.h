// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Names of PCI devices.

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sentrel::platform {

/// What the database says of a device, as it stands there.
struct PciNames {
    std::string vendor;
    std::optional<std::string> device; ///< absent for a device that is not listed
    friend bool operator==(const PciNames&, const PciNames&) = default;
};

/// Finds a device in the text of a pci.ids file: a line "8086  Intel Corporation" a vendor, under it a line
/// "<tab>3ea0  WhiskeyLake-U GT2 [UHD Graphics 620]" a device. Absent for a vendor that is not listed.
[[nodiscard]] std::optional<PciNames> findPciNames(std::string_view database, std::uint16_t vendor,
                                                   std::uint16_t device);

/// The name to show: the vendor's short name, unless the other begins with it, and the device's trade name, which
/// stands in square brackets where there are such. "Intel Corporation" and "WhiskeyLake-U GT2 [UHD Graphics 620]" give
/// "Intel UHD Graphics 620". A device that is not listed is shown by its number: "Intel Device 3ea0".
[[nodiscard]] std::string displayName(const PciNames& names, std::uint16_t device);

/// Looks a device up in the device manager's compiled database, which is searched without being read whole; what it
/// does not know, and any device where there is none (containers, captured files), in the text of the pci.ids file.
[[nodiscard]] std::optional<PciNames> lookUpPciNames(const SystemRoot& root, std::uint16_t vendor,
                                                     std::uint16_t device);

} // namespace sentrel::platform
