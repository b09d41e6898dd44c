#include <SentrelKit/platform/linux/LinuxGraphicsService.h>

#include <SentrelKit/platform/linux/Folder.h>
#include <SentrelKit/platform/linux/HardwareDatabase.h>

#include <cerrno>
#include <charconv>
#include <string>
#include <string_view>

namespace sentrel::platform {

namespace {

constexpr std::string_view devicesFolder = "/sys/bus/pci/devices/";
constexpr std::string_view cardsFolder = "/sys/class/drm/";

// Reads a file that holds "0x8086".
std::optional<std::uint32_t> readHexadecimal(const SystemRoot& root, const std::string& path) {
    const std::optional<std::string> text = root.readLine(path);
    if (!text || !text->starts_with("0x"))
        return std::nullopt;
    std::uint32_t value = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data() + 2, end, value, 16);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

std::optional<std::uint16_t> readPciNumber(const SystemRoot& root, const std::string& path) {
    const std::optional<std::uint32_t> value = readHexadecimal(root, path);
    if (!value || *value > 0xffff)
        return std::nullopt;
    return static_cast<std::uint16_t>(*value);
}

// Base class 03 of the class code (PCI code and ID assignment): VGA, XGA, 3D and other controllers.
bool isDisplay(const SystemRoot& root, const std::string& device) {
    const std::optional<std::uint32_t> code = readHexadecimal(root, device + "/class");
    return code && *code >> 16 == 0x03;
}

PropertyList::Bytes deviceID(std::uint16_t device) {
    return {static_cast<std::uint8_t>(device & 0xff), static_cast<std::uint8_t>(device >> 8), 0, 0};
}

std::vector<std::string> namesOrNone(const SystemRoot& root, std::string_view folder) {
    return namesIn(root, folder).value_or(std::vector<std::string>());
}

// A connector is named after its card: "card0-HDMI-A-1".
bool hasConnectedDisplay(const SystemRoot& root, const std::vector<std::string>& names, const std::string& card) {
    for (const std::string& name : names) {
        if (name.starts_with(card + "-") &&
            root.readLine(std::string(cardsFolder) + name + "/status") == std::string("connected"))
            return true;
    }
    return false;
}

} // namespace

std::optional<std::vector<PropertyList::Dictionary>> LinuxGraphicsService::pciDevices() {
    const std::optional<std::vector<std::string>> names = namesIn(root_, devicesFolder);
    if (!names)
        return std::nullopt;
    std::vector<PropertyList::Dictionary> devices;
    for (const std::string& name : *names) {
        const std::string folder = std::string(devicesFolder) + name;
        const std::optional<std::uint16_t> vendor = readPciNumber(root_, folder + "/vendor");
        const std::optional<std::uint16_t> device = readPciNumber(root_, folder + "/device");
        if (!vendor || !device)
            continue;
        PropertyList::Dictionary properties;
        properties["device-id"] = deviceID(*device);
        if (isDisplay(root_, folder)) {
            properties["IOName"] = "display";
            if (const std::optional<PciNames> found = lookUpPciNames(root_, *vendor, *device)) {
                const std::string model = displayName(*found, *device);
                properties["model"] = PropertyList::Bytes(model.begin(), model.end());
            }
        } else {
            properties["IOName"] = "pci";
        }
        devices.push_back(std::move(properties));
    }
    return devices;
}

std::optional<PropertyList::Bytes> LinuxGraphicsService::activeDeviceID() {
    std::optional<std::uint16_t> connected;
    const std::vector<std::string> names = namesOrNone(root_, cardsFolder);
    for (const std::string& card : names) {
        if (!card.starts_with("card") || card.find('-') != std::string::npos)
            continue;
        const std::string device = std::string(cardsFolder) + card + "/device";
        const std::optional<std::uint16_t> number = readPciNumber(root_, device + "/device");
        if (!number || !hasConnectedDisplay(root_, names, card))
            continue;
        if (root_.readLine(device + "/boot_vga") == std::string("1"))
            return deviceID(*number);
        if (!connected)
            connected = number;
    }
    if (connected)
        return deviceID(*connected);

    for (const std::string& name : namesOrNone(root_, devicesFolder)) {
        const std::string folder = std::string(devicesFolder) + name;
        if (root_.readLine(folder + "/boot_vga") != std::string("1"))
            continue;
        if (const std::optional<std::uint16_t> number = readPciNumber(root_, folder + "/device"))
            return deviceID(*number);
    }
    errno = ENODEV;
    return std::nullopt;
}

} // namespace sentrel::platform
