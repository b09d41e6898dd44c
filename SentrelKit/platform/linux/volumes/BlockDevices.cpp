// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>

#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/volumes/UdevReleaser.h>

#include <algorithm>
#include <array>
#include <blkid/blkid.h>
#include <charconv>
#include <climits>
#include <memory>
#include <unistd.h>

namespace sentrel::platform {

namespace {

constexpr int stackLimit = 16; // deeper stacks than this are taken for a ring

struct ProbeFreer {
    void operator()(blkid_probe probe) const noexcept { ::blkid_free_probe(probe); }
};

bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Sectors as bytes; what 63 bits cannot hold wraps, as the counter itself would.
std::optional<std::int64_t> bytesOfSectors(std::string_view field) noexcept {
    std::uint64_t sectors = 0;
    const auto result = std::from_chars(field.data(), field.data() + field.size(), sectors);
    if (field.empty() || result.ec != std::errc() || result.ptr != field.data() + field.size())
        return std::nullopt;
    return static_cast<std::int64_t>(sectors * 512);
}

std::optional<std::string> labelOnDevice(const std::string& node) {
    const std::unique_ptr<std::remove_pointer_t<blkid_probe>, ProbeFreer> probe(
        ::blkid_new_probe_from_filename(node.c_str()));
    if (!probe)
        return std::nullopt;
    ::blkid_probe_enable_superblocks(probe.get(), 1);
    ::blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_LABEL);
    const char* label = nullptr;
    if (::blkid_do_safeprobe(probe.get()) != 0 ||
        ::blkid_probe_lookup_value(probe.get(), "LABEL", &label, nullptr) != 0 || !label || !*label)
        return std::nullopt;
    return std::string(label);
}

} // namespace

DiskStatistics parseBlockStatistics(std::string_view text) noexcept {
    constexpr std::size_t sectorsRead = 2;
    constexpr std::size_t sectorsWritten = 6;
    DiskStatistics statistics;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t field = 0; field <= sectorsWritten; ++field) {
        at = std::find_if_not(at, end, isBlank);
        const char* const begin = at;
        at = std::find_if(at, end, isBlank);
        const std::string_view number(begin, static_cast<std::size_t>(at - begin));
        if (field == sectorsRead)
            statistics.bytesRead = bytesOfSectors(number);
        else if (field == sectorsWritten)
            statistics.bytesWritten = bytesOfSectors(number);
    }
    return statistics;
}

std::optional<std::string> udevProperty(const std::string& kernelName, const char* key) {
    const std::unique_ptr<udev, UdevReleaser> context(udev_new());
    const std::unique_ptr<udev_device, UdevReleaser> device(
        context ? udev_device_new_from_subsystem_sysname(context.get(), "block", kernelName.c_str()) : nullptr);
    const char* const value = device ? udev_device_get_property_value(device.get(), key) : nullptr;
    return value ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<std::string> udevDecoded(std::string_view value) {
    std::string plain;
    plain.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        const bool isEscape = value[i] == '\\' && i + 3 < value.size() && value[i + 1] == 'x' &&
                              hexDigit(value[i + 2]) >= 0 && hexDigit(value[i + 3]) >= 0;
        plain += isEscape ? static_cast<char>(hexDigit(value[i + 2]) * 16 + hexDigit(value[i + 3])) : value[i];
        if (isEscape)
            i += 3;
    }
    const std::string_view text = trimmed(plain);
    if (text.empty())
        return std::nullopt;
    return std::string(text);
}

BlockDevices::BlockDevices(SystemRoot root, DeviceProperty property)
    : root_(std::move(root)), property_(property || !root_.isReal() ? std::move(property) : udevProperty) {}

std::string BlockDevices::folder(const std::string& kernelName, std::string_view file) {
    std::string path = "/sys/class/block/" + kernelName;
    if (!file.empty())
        path.append("/").append(file);
    return path;
}

std::string BlockDevices::node(const std::string& kernelName) {
    std::string path = "/dev/" + kernelName;
    std::replace(path.begin(), path.end(), '!', '/');
    return path;
}

std::optional<std::string> BlockDevices::attribute(const std::string& kernelName, std::string_view file) const {
    return root_.readLine(folder(kernelName, file));
}

std::vector<std::string> BlockDevices::entries(const std::string& absolute) const {
    return namesIn(root_, absolute).value_or(std::vector<std::string>());
}

std::optional<std::string> BlockDevices::linkTarget(const std::string& absolute) const {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(root_.path(absolute).c_str(), target.data(), target.size());
    if (length < 0)
        return std::nullopt;
    return std::string(target.data(), static_cast<std::size_t>(length));
}

bool BlockDevices::exists(const std::string& kernelName) const {
    return isPlainName(kernelName) && ::access(root_.path(folder(kernelName)).c_str(), F_OK) == 0;
}

std::optional<std::string> BlockDevices::kernelName(std::string_view deviceName) const {
    constexpr std::string_view nodes = "/dev/";
    if (deviceName.starts_with(nodes)) {
        std::string foldered(deviceName.substr(nodes.size()));
        std::replace(foldered.begin(), foldered.end(), '/', '!');
        if (exists(foldered))
            return foldered;
        deviceName = deviceName.substr(deviceName.rfind('/') + 1);
    }
    std::string name(deviceName);
    if (exists(name))
        return name;
    if (!isPlainName(name))
        return std::nullopt;
    for (const std::string& candidate : entries("/sys/class/block")) {
        const bool foldered = candidate.size() > name.size() && candidate.ends_with(name) &&
                              candidate[candidate.size() - name.size() - 1] == '!';
        if (foldered || attribute(candidate, "dm/name") == name)
            return candidate;
    }
    return std::nullopt;
}

std::optional<std::string> BlockDevices::nameOfNumber(std::uint32_t deviceMajor, std::uint32_t deviceMinor) const {
    const std::optional<std::string> target =
        linkTarget("/sys/dev/block/" + std::to_string(deviceMajor) + ':' + std::to_string(deviceMinor));
    if (!target)
        return std::nullopt;
    return target->substr(target->rfind('/') + 1);
}

std::string BlockDevices::wholeDisk(const std::string& kernelName) const {
    if (::access(root_.path(folder(kernelName, "partition")).c_str(), F_OK) != 0)
        return kernelName;
    // ".../block/sda/sda1": the folder above a partition's is its disk's.
    const std::optional<std::string> target = linkTarget(folder(kernelName));
    if (!target)
        return kernelName;
    const std::size_t last = target->rfind('/');
    if (last == std::string::npos || last == 0)
        return kernelName;
    const std::size_t above = target->rfind('/', last - 1);
    return target->substr(above + 1, last - above - 1);
}

std::vector<std::string> BlockDevices::components(const std::string& kernelName) const {
    return entries(folder(kernelName, "slaves"));
}

std::vector<std::string> BlockDevices::nvmePaths(const std::string& kernelName) const {
    const std::size_t space = kernelName.rfind('n'); // "nvme0n1": the namespace follows the last n
    if (!kernelName.starts_with("nvme") || space == std::string::npos || space <= 3)
        return {};
    const std::string suffix = kernelName.substr(space);
    const std::string prefix = kernelName.substr(0, space) + 'c';
    std::vector<std::string> paths;
    for (const std::string& controller : entries(folder(kernelName, "device"))) {
        if (!controller.starts_with("nvme"))
            continue;
        for (const std::string& path : entries(folder(kernelName, "device/" + controller))) {
            if (path.starts_with(prefix) && path.ends_with(suffix))
                paths.emplace_back(controller).append("/").append(path);
        }
    }
    return paths;
}

std::string BlockDevices::bottomDisk(const std::string& kernelName) const {
    std::string disk = wholeDisk(kernelName);
    for (int depth = 0; depth < stackLimit; ++depth) {
        const std::vector<std::string> below = components(disk);
        if (below.size() != 1)
            break;
        disk = wholeDisk(below.front());
    }
    return disk;
}

std::optional<std::string> BlockDevices::property(const std::string& kernelName, const char* key) const {
    return property_ ? property_(kernelName, key) : std::nullopt;
}

std::optional<std::string> BlockDevices::model(const std::string& kernelName) const {
    const std::string disk = bottomDisk(kernelName);
    // The whole model text; the kernel's own is cut to the 16 bytes of a SCSI answer.
    if (const std::optional<std::string> encoded = property(disk, "ID_MODEL_ENC")) {
        if (std::optional<std::string> text = udevDecoded(*encoded))
            return text;
    }
    std::optional<std::string> text = attribute(disk, "device/model");
    if (text && text->empty())
        text.reset();
    return text;
}

std::optional<std::string> BlockDevices::label(const std::string& kernelName) const {
    if (const std::optional<std::string> encoded = property(kernelName, "ID_FS_LABEL_ENC"))
        return udevDecoded(*encoded);
    if (!root_.isReal())
        return std::nullopt;
    return labelOnDevice(node(kernelName));
}

bool BlockDevices::isScsiDisk(const std::string& kernelName) const {
    // Peripheral device type 0 (SCSI primary commands): direct-access block device.
    return attribute(kernelName, "device/type") == "0" && attribute(kernelName, "device/vendor").has_value();
}

} // namespace sentrel::platform
