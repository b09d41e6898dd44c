// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/sensors/MonitorChips.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/sensors/ChannelFile.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <tuple>

namespace sentrel::platform {

namespace {

constexpr std::string_view classFolder = "/sys/class/hwmon";
// A processor of 128 cores has that many: a host's own limit is often 1024.
constexpr std::size_t mostOpenFiles = 256;

// A channel is there if it has a reading; its limits are not without one.
constexpr std::string_view readingItems[] = {"input", "average"};
constexpr std::string_view alarmItems[] = {"alarm",       "min_alarm",       "max_alarm", "crit_alarm",
                                           "lcrit_alarm", "emergency_alarm", "cap_alarm"};

std::optional<double> limit(const SystemRoot& root, const std::string& path, double units) {
    const std::optional<std::int64_t> number = NumberFile(root.path(path), NumberFile::Keeping::closed).read();
    return number ? std::optional(static_cast<double>(*number) / units) : std::nullopt;
}

// In a list in byte order.
bool contains(const std::vector<std::string>& names, const std::string& stem, std::string_view item) {
    return std::binary_search(names.begin(), names.end(), stem + "_" + std::string(item));
}

std::vector<std::string> chipNames(const SystemRoot& root) {
    constexpr std::string_view prefix = "hwmon";
    std::vector<std::pair<std::uint32_t, std::string>> chips;
    for (std::string& name : namesIn(root, classFolder).value_or(std::vector<std::string>()))
        if (name.starts_with(prefix))
            if (const auto number = toNumber<std::uint32_t>(std::string_view(name).substr(prefix.size())))
                chips.emplace_back(*number, std::move(name));
    std::sort(chips.begin(), chips.end());
    std::vector<std::string> names;
    names.reserve(chips.size());
    for (auto& [number, name] : chips)
        names.push_back(std::move(name));
    return names;
}

} // namespace

MonitorChips::MonitorChips(SystemRoot root) : root_(std::move(root)), folder_(root_, classFolder) {}

void MonitorChips::find() {
    chips_.clear();
    channels_.clear();
    files_ = 0;
    for (const std::string& name : chipNames(root_)) {
        const std::string folder = std::string(classFolder) + "/" + name;
        Chip chip{folder, root_.readLine(folder + "/name").value_or(name), {}, {}};
        // By the device, where there is one: the numbers of chips change from start to start.
        const std::optional<std::string> device = linkTarget(root_.path(folder + "/device"));
        chip.identifier = chip.name + "@" + std::string(device ? lastPathComponent(*device) : std::string_view(name));
        const std::optional<std::string> bus = linkTarget(root_.path(folder + "/device/subsystem"));
        if (bus && lastPathComponent(*bus) == "pci")
            chip.sleep.emplace(root_, folder + "/device/power/runtime_status");
        chips_.push_back(std::move(chip));
        findChannels();
    }
}

// Of the last chip.
void MonitorChips::findChannels() {
    std::set<std::tuple<SensorKind, std::uint32_t, std::string>> found; // in this order
    const auto names = namesIn(root_, chips_.back().folder).value_or(std::vector<std::string>());
    for (const std::string& name : names)
        if (const std::optional<ChannelFile> file = parseChannelFile(name))
            found.emplace(file->kind, file->number, name.substr(0, name.size() - file->item.size() - 1));
    for (const auto& [kind, number, stem] : found)
        for (const std::string_view item : readingItems)
            if (contains(names, stem, item)) {
                channels_.push_back(channel(names, kind, stem, item));
                break;
            }
}

NumberFile MonitorChips::file(const std::string& path) {
    const auto keeping = files_ < mostOpenFiles ? NumberFile::Keeping::open : NumberFile::Keeping::closed;
    ++files_;
    return NumberFile(root_.path(path), keeping);
}

MonitorChips::Channel MonitorChips::channel(const std::vector<std::string>& names, SensorKind kind,
                                            const std::string& stem, std::string_view item) {
    const Chip& chip = chips_.back();
    const std::string path = chip.folder + "/" + stem + "_";
    const double units = kernelUnits(kind);
    Channel channel{.reading = {}, .chip = chips_.size() - 1, .units = units, .input = file(path + std::string(item))};
    SensorReading& reading = channel.reading;
    reading.kind = kind;
    reading.identifier = chip.identifier + "/" + stem;
    reading.chip = chip.name;
    reading.label = root_.readLine(path + "label").value_or("");
    if (reading.label.empty())
        reading.label = stem;
    reading.minimum = limit(root_, path + "min", units);
    reading.maximum = limit(root_, path + "max", units);
    if (!reading.maximum && kind == SensorKind::power)
        reading.maximum = limit(root_, path + "cap", units);
    reading.critical = limit(root_, path + "crit", units);
    if (contains(names, stem, "fault"))
        channel.fault = file(path + "fault");
    for (const std::string_view alarm : alarmItems)
        if (contains(names, stem, alarm))
            channel.alarms.push_back(file(path + std::string(alarm)));
    return channel;
}

bool MonitorChips::sample(Channel& channel) noexcept {
    if (chips_[channel.chip].sleeps) {
        errno = EAGAIN;
        return false;
    }
    if (channel.fault && channel.fault->read().value_or(0) != 0) {
        errno = EIO;
        return false;
    }
    const std::optional<std::int64_t> value = channel.input.read();
    if (!value)
        return false;
    channel.reading.value = static_cast<double>(*value) / channel.units;
    channel.reading.alarm.reset();
    for (NumberFile& alarm : channel.alarms)
        if (const std::optional<std::int64_t> raised = alarm.read())
            channel.reading.alarm = channel.reading.alarm.value_or(false) || *raised != 0;
    return true;
}

Availability MonitorChips::read(std::vector<SensorReading>& readings) {
    if (folder_.hasChanged())
        find();
    for (Chip& chip : chips_) {
        std::array<char, 32> buffer;
        chip.sleeps = chip.sleep && trimmed(chip.sleep->read(buffer).value_or(std::string_view())) == "suspended";
    }
    int error = ENODEV;
    bool isAny = false;
    for (Channel& channel : channels_) {
        channel.isRead = sample(channel);
        if (channel.isRead)
            isAny = true;
        else
            error = errno;
    }
    if (!isAny)
        return channels_.empty() ? Availability::unsupported : availabilityOf(error);
    fillReadings(readings, channels_);
    return Availability::available;
}

} // namespace sentrel::platform
