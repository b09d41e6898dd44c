// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/DiskTable.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace sentrel::platform {

namespace {

// The numbers after the name, from the first on.
enum Field : std::size_t {
    readsCompleted = 0,
    millisecondsReading = 3,
    writesCompleted = 4,
    millisecondsWriting = 7,
    operationsInProgress = 8,
    millisecondsBusy = 9,
    millisecondsWeighted = 10,
    fieldCount
};

struct Line {
    std::string_view name;
    std::array<std::uint64_t, fieldCount> fields{};
};

std::optional<Line> parseLine(std::string_view text) noexcept {
    takeWord(text); // the device's two numbers
    takeWord(text);
    Line line;
    line.name = takeWord(text);
    for (std::uint64_t& field : line.fields) {
        const std::optional<std::uint64_t> number = toNumber(takeWord(text));
        if (!number)
            return std::nullopt;
        field = *number;
    }
    return line;
}

} // namespace

void parseDiskTable(std::string_view table, std::vector<DiskOperations>& disks) {
    std::size_t count = 0;
    while (const std::optional<std::string_view> text = takeLine(table)) {
        const std::optional<Line> line = parseLine(*text);
        if (!line)
            continue;
        if (count == disks.size())
            disks.emplace_back();
        DiskOperations& disk = disks[count++];
        disk.name = line->name;
        std::ranges::replace(disk.name, '/', '!'); // as sysfs names devices in folders of /dev
        disk.reads = static_cast<std::int64_t>(line->fields[readsCompleted]);
        disk.writes = static_cast<std::int64_t>(line->fields[writesCompleted]);
        disk.readTime = static_cast<std::uint32_t>(line->fields[millisecondsReading]);
        disk.writeTime = static_cast<std::uint32_t>(line->fields[millisecondsWriting]);
        disk.busyTime = static_cast<std::uint32_t>(line->fields[millisecondsBusy]);
        disk.queueTime = static_cast<std::uint32_t>(line->fields[millisecondsWeighted]);
        disk.operationsNow = static_cast<std::int64_t>(line->fields[operationsInProgress]);
    }
    disks.resize(count);
}

bool DiskTable::read(std::vector<DiskOperations>& disks) {
    constexpr std::size_t usual = 16384;
    if (buffer_.empty())
        buffer_.resize(usual);
    for (;;) {
        const std::optional<std::string_view> table = file_.readTable(buffer_);
        if (!table)
            return false;
        if (table->size() < buffer_.size()) {
            parseDiskTable(*table, disks);
            return true;
        }
        buffer_.resize(buffer_.size() * 2);
    }
}

DiskDevice describeDevice(const BlockDevices& devices, const std::string& kernelName) {
    constexpr std::int64_t sector = 512; // whatever the disk's own are
    DiskDevice device;
    device.name = kernelName;
    device.alias = devices.attribute(kernelName, "dm/name").value_or("");
    device.whole = devices.wholeDisk(kernelName);
    device.model = devices.model(kernelName);
    const auto number = [&devices](const std::string& of, std::string_view file) {
        const std::optional<std::string> text = devices.attribute(of, file);
        return text ? toNumber<std::int64_t>(*text) : std::nullopt;
    };
    const auto flag = [&number](const std::string& of, std::string_view file) {
        const std::optional<std::int64_t> value = number(of, file);
        return value ? std::optional(*value != 0) : std::nullopt;
    };
    const std::optional<std::int64_t> sectors = number(kernelName, "size");
    if (sectors && *sectors >= 0 && *sectors <= std::numeric_limits<std::int64_t>::max() / sector)
        device.size = *sectors * sector;
    device.readOnly = flag(kernelName, "ro");
    device.removable = flag(device.whole, "removable");
    device.rotational = flag(device.whole, "queue/rotational");
    return device;
}

} // namespace sentrel::platform
