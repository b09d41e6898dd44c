// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/HardwareDatabase.h>

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/common/Owner.h>

#include <cstdio>
#include <libudev.h>

namespace sentrel::platform {

namespace {

constexpr std::size_t databaseLimit = std::size_t{16} << 20; // the file is 1.4 MB

// Reads "8086  Intel Corporation", giving the name if the number is the wanted one.
std::optional<std::string_view> nameUnder(std::string_view line, std::string_view number) noexcept {
    if (!line.starts_with(number))
        return std::nullopt;
    line.remove_prefix(number.size());
    if (!line.starts_with(' '))
        return std::nullopt;
    return trimmed(line);
}

std::string hexadecimal(std::uint16_t number) {
    char text[5];
    std::snprintf(text, sizeof text, "%04x", static_cast<unsigned>(number));
    return text;
}

// What stands in the last square brackets.
std::optional<std::string_view> bracketed(std::string_view text) noexcept {
    const std::size_t close = text.rfind(']');
    const std::size_t open = text.rfind('[', close);
    if (close == std::string_view::npos || open == std::string_view::npos || close <= open + 1)
        return std::nullopt;
    return text.substr(open + 1, close - open - 1);
}

std::string_view shortVendor(std::string_view name) noexcept {
    if (const std::optional<std::string_view> brackets = bracketed(name))
        return *brackets;
    static constexpr std::string_view suffixes[] = {" Corporation", " Corp.", ", Inc.", " Inc.", ", Ltd.", " Ltd."};
    for (const std::string_view suffix : suffixes)
        if (name.ends_with(suffix))
            return name.substr(0, name.size() - suffix.size());
    return name;
}

std::optional<PciNames> lookUpCompiled(std::uint16_t vendor, std::uint16_t device) {
    const Owner<udev, udev_unref> context(udev_new());
    const Owner<udev_hwdb, udev_hwdb_unref> database(context ? udev_hwdb_new(context.get()) : nullptr);
    if (!database)
        return std::nullopt;

    // The kernel's alias of a PCI device (file2alias.c, do_pci_entry), cut after what the database goes by.
    char alias[32];
    std::snprintf(alias, sizeof alias, "pci:v%08Xd%08X", static_cast<unsigned>(vendor), static_cast<unsigned>(device));
    std::optional<std::string> vendorName;
    std::optional<std::string> deviceName;
    for (udev_list_entry* entry = udev_hwdb_get_properties_list_entry(database.get(), alias, 0); entry;
         entry = udev_list_entry_get_next(entry)) {
        const std::string_view key = udev_list_entry_get_name(entry);
        const char* value = udev_list_entry_get_value(entry);
        if (value && key == "ID_VENDOR_FROM_DATABASE")
            vendorName = value;
        else if (value && key == "ID_MODEL_FROM_DATABASE")
            deviceName = value;
    }
    if (!vendorName)
        return std::nullopt;
    return PciNames{std::move(*vendorName), std::move(deviceName)};
}

} // namespace

std::optional<PciNames> findPciNames(std::string_view database, std::uint16_t vendor, std::uint16_t device) {
    const std::string vendorNumber = hexadecimal(vendor);
    const std::string deviceNumber = hexadecimal(device);
    std::optional<PciNames> names;
    while (std::optional<std::string_view> line = takeLine(database)) {
        if (line->empty() || line->starts_with('#'))
            continue;
        if (!line->starts_with('\t')) {
            if (names)
                break;
            // "C 00  Unclassified device" begins the list of classes: the letter keeps it apart from the vendor c000.
            if (const std::optional<std::string_view> name = nameUnder(*line, vendorNumber); name && !name->empty())
                names = PciNames{std::string(*name), std::nullopt};
            continue;
        }
        line->remove_prefix(1);
        if (!names || line->starts_with('\t'))
            continue;
        if (const std::optional<std::string_view> name = nameUnder(*line, deviceNumber); name && !name->empty()) {
            names->device = std::string(*name);
            break;
        }
    }
    return names;
}

std::string displayName(const PciNames& names, std::uint16_t device) {
    const std::string vendor = std::string(shortVendor(names.vendor)) + ' ';
    if (!names.device)
        return vendor + "Device " + hexadecimal(device);
    const std::string name(bracketed(*names.device).value_or(*names.device));
    return name.starts_with(vendor) ? name : vendor + name;
}

std::optional<PciNames> lookUpPciNames(const SystemRoot& root, std::uint16_t vendor, std::uint16_t device) {
    std::optional<PciNames> best = root.isReal() ? lookUpCompiled(vendor, device) : std::nullopt;
    if (best && best->device)
        return best;
    for (const std::string_view path : {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids"}) {
        if (const std::optional<std::string> content = root.read(path, databaseLimit)) {
            std::optional<PciNames> listed = findPciNames(*content, vendor, device);
            return listed && (listed->device || !best) ? listed : best;
        }
    }
    return best;
}

} // namespace sentrel::platform
