// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/PciDevice.h>

#include <SentrelKit/platform/linux/graphics/HardwareDatabase.h>

namespace sentrel::platform {

namespace {

template <class Integer>
std::optional<Integer> readHexadecimal(const SystemRoot& root, const std::string& path) {
    const std::optional<std::string> text = root.readLine(path);
    return text ? hexadecimal<Integer>(*text) : std::nullopt;
}

} // namespace

std::optional<PciNumbers> readPciNumbers(const SystemRoot& root, const std::string& folder) {
    const std::optional<std::uint16_t> vendor = readHexadecimal<std::uint16_t>(root, folder + "/vendor");
    const std::optional<std::uint16_t> device = readHexadecimal<std::uint16_t>(root, folder + "/device");
    if (!vendor || !device)
        return std::nullopt;
    return PciNumbers{*vendor, *device};
}

// Base class 03 of the class code (PCI code and ID assignment): VGA, XGA, 3D and other controllers.
bool isDisplayController(const SystemRoot& root, const std::string& folder) {
    const std::optional<std::uint32_t> code = readHexadecimal<std::uint32_t>(root, folder + "/class");
    return code && *code >> 16 == 0x03;
}

std::optional<std::string> pciDisplayName(const SystemRoot& root, const std::string& folder) {
    const std::optional<PciNumbers> numbers = readPciNumbers(root, folder);
    const std::optional<PciNames> names =
        numbers ? lookUpPciNames(root, numbers->vendor, numbers->device) : std::nullopt;
    return names ? std::optional(displayName(*names, numbers->device)) : std::nullopt;
}

} // namespace sentrel::platform
