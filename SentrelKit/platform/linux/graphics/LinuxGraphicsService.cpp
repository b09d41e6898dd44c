// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/LinuxGraphicsService.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/graphics/PciDevice.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::string_view devicesFolder = "/sys/bus/pci/devices/";
constexpr std::string_view cardsFolder = "/sys/class/drm/";

std::array<std::uint8_t, 4> deviceIDOf(std::uint16_t device) noexcept {
    return {static_cast<std::uint8_t>(device & 0xff), static_cast<std::uint8_t>(device >> 8), 0, 0};
}

/// A one-line file below an entry of an open folder, read without memory from the heap; empty if it cannot be read.
class EntryLine {
public:
    EntryLine(int folder, std::string_view entry, const char* file) noexcept {
        std::array<char, std::size_t{2} * NAME_MAX> path;
        std::snprintf(path.data(), path.size(), "%.*s/%s", static_cast<int>(entry.size()), entry.data(), file);
        text_ = trimmed(readFileAt(folder, path.data(), content_).value_or(std::string_view()));
    }
    EntryLine(const EntryLine&) = delete;
    EntryLine& operator=(const EntryLine&) = delete;

    [[nodiscard]] std::string_view text() const noexcept { return text_; }

private:
    std::array<char, 32> content_;
    std::string_view text_;
};

/// The best of the displays so far: a boot display before others, then the first by name.
class BestDisplay {
public:
    void offer(std::string_view name, bool boots, std::uint16_t number) noexcept {
        if (number_ && (boots != boots_ ? boots_ : this->name() <= name))
            return;
        length_ = name.copy(name_.data(), name_.size());
        boots_ = boots;
        number_ = number;
    }
    [[nodiscard]] std::optional<std::uint16_t> number() const noexcept { return number_; }

private:
    [[nodiscard]] std::string_view name() const noexcept { return {name_.data(), length_}; }

    std::array<char, NAME_MAX> name_;
    std::size_t length_ = 0;
    bool boots_ = false;
    std::optional<std::uint16_t> number_;
};

bool isBootDisplay(int folder, std::string_view entry, const char* file) noexcept {
    return EntryLine(folder, entry, file).text() == "1";
}

// A connector is named after its card: "card0-HDMI-A-1".
std::optional<std::uint16_t> connectedDisplay(const std::string& path) {
    BestDisplay best;
    const UniqueFd cards = openAt(AT_FDCWD, path.c_str(), O_DIRECTORY);
    FolderReader entries(cards.get());
    while (const dirent64* entry = entries.next()) {
        const std::string_view connector = entry->d_name;
        const std::size_t dash = connector.find('-');
        if (!connector.starts_with("card") || dash == std::string_view::npos ||
            EntryLine(cards.get(), connector, "status").text() != "connected")
            continue;
        const std::string_view card = connector.substr(0, dash);
        if (const auto number = hexadecimal<std::uint16_t>(EntryLine(cards.get(), card, "device/device").text()))
            best.offer(card, isBootDisplay(cards.get(), card, "device/boot_vga"), *number);
    }
    return best.number();
}

std::optional<std::uint16_t> bootDisplay(const std::string& path) {
    BestDisplay best;
    const UniqueFd devices = openAt(AT_FDCWD, path.c_str(), O_DIRECTORY);
    FolderReader entries(devices.get());
    while (const dirent64* entry = entries.next()) {
        const std::string_view device = entry->d_name;
        if (!isBootDisplay(devices.get(), device, "boot_vga"))
            continue;
        if (const auto number = hexadecimal<std::uint16_t>(EntryLine(devices.get(), device, "device").text()))
            best.offer(device, true, *number);
    }
    return best.number();
}

} // namespace

LinuxGraphicsService::LinuxGraphicsService(SystemRoot root)
    : root_(std::move(root)), cardsFolder_(root_.path(cardsFolder)), devicesFolder_(root_.path(devicesFolder)),
      events_(root_), devices_(root_), clients_(root_) {}

std::optional<std::vector<PropertyList::Dictionary>> LinuxGraphicsService::pciDevices() {
    const std::optional<std::vector<std::string>> names = namesIn(root_, devicesFolder);
    if (!names)
        return std::nullopt;
    std::vector<PropertyList::Dictionary> devices;
    for (const std::string& name : *names) {
        const std::string folder = std::string(devicesFolder) + name;
        const std::optional<PciNumbers> numbers = readPciNumbers(root_, folder);
        if (!numbers)
            continue;
        PropertyList::Dictionary properties;
        const std::array<std::uint8_t, 4> id = deviceIDOf(numbers->device);
        properties["device-id"] = PropertyList::Bytes(id.begin(), id.end());
        if (isDisplayController(root_, folder)) {
            properties["IOName"] = "display";
            if (const std::optional<std::string> model = pciDisplayName(root_, folder))
                properties["model"] = PropertyList::Bytes(model->begin(), model->end());
        } else {
            properties["IOName"] = "pci";
        }
        devices.push_back(std::move(properties));
    }
    return devices;
}

Availability LinuxGraphicsService::processors(std::vector<GraphicsProcessor>& processors) {
    const LockScope scope(lock_);
    return devices_.read(processors);
}

Availability LinuxGraphicsService::clients(std::vector<GraphicsClient>& clients) {
    const LockScope scope(clientsLock_);
    return clients_.read(clients);
}

std::optional<std::uint16_t> LinuxGraphicsService::activeDevice() {
    const LockScope scope(activeLock_);
    if (events_.anyNew()) {
        activeDevice_ = connectedDisplay(cardsFolder_);
        if (!activeDevice_)
            activeDevice_ = bootDisplay(devicesFolder_);
    }
    return activeDevice_;
}

bool LinuxGraphicsService::activeDeviceID(PropertyList::Bytes& deviceID) {
    const std::optional<std::uint16_t> number = activeDevice();
    if (!number) {
        errno = ENODEV;
        return false;
    }
    const std::array<std::uint8_t, 4> bytes = deviceIDOf(*number);
    deviceID.assign(bytes.begin(), bytes.end());
    return true;
}

} // namespace sentrel::platform
