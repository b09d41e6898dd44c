// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/SmartDetails.h>

#include <SentrelKit/platform/VolumeService.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>

namespace sentrel::probes {

namespace {

using platform::SmartData;

// The tables of attributes and of thresholds: an attribute is id, two flag bytes, value, worst value, six raw bytes, a
// reserved byte; a threshold is id, threshold, ten reserved bytes.
constexpr std::size_t tableStart = 2;
constexpr std::size_t tableEntries = 30;
constexpr std::size_t entrySize = 12;
constexpr std::size_t valueOffset = 3;
constexpr std::size_t worstOffset = 4;
constexpr std::size_t rawOffset = 5;
constexpr std::size_t rawSize = 6;

constexpr std::uint8_t powerOnHoursAttribute = 9;
constexpr std::uint8_t powerCyclesAttribute = 12;
constexpr std::uint8_t airflowTemperatureAttribute = 190;
constexpr std::uint8_t temperatureAttribute = 194;

constexpr std::array<std::pair<std::uint8_t, std::string_view>, 50> names = {{{1, "raw read error rate"},
                                                                              {2, "throughput performance"},
                                                                              {3, "spin-up time"},
                                                                              {4, "start/stop count"},
                                                                              {5, "reallocated sectors"},
                                                                              {7, "seek error rate"},
                                                                              {8, "seek time performance"},
                                                                              {9, "power-on hours"},
                                                                              {10, "spin-up retries"},
                                                                              {11, "calibration retries"},
                                                                              {12, "power cycles"},
                                                                              {170, "reserved blocks available"},
                                                                              {171, "program failures"},
                                                                              {172, "erase failures"},
                                                                              {173, "wear leveling count"},
                                                                              {174, "unexpected power losses"},
                                                                              {175, "power loss protection failures"},
                                                                              {177, "wear leveling count"},
                                                                              {179, "used reserved blocks"},
                                                                              {180, "unused reserved blocks"},
                                                                              {181, "program failures"},
                                                                              {182, "erase failures"},
                                                                              {183, "runtime bad blocks"},
                                                                              {184, "end-to-end errors"},
                                                                              {187, "reported uncorrectable errors"},
                                                                              {188, "command timeouts"},
                                                                              {189, "high fly writes"},
                                                                              {190, "airflow temperature"},
                                                                              {191, "shock events"},
                                                                              {192, "power-off retractions"},
                                                                              {193, "load cycles"},
                                                                              {194, "temperature"},
                                                                              {195, "corrected read errors"},
                                                                              {196, "reallocation events"},
                                                                              {197, "pending sectors"},
                                                                              {198, "uncorrectable sectors"},
                                                                              {199, "interface CRC errors"},
                                                                              {200, "write error rate"},
                                                                              {201, "soft read errors"},
                                                                              {220, "disk shift"},
                                                                              {222, "loaded hours"},
                                                                              {223, "load retries"},
                                                                              {225, "load cycles"},
                                                                              {226, "load-in time"},
                                                                              {231, "life left"},
                                                                              {232, "available reserved space"},
                                                                              {233, "media wearout"},
                                                                              {240, "head flying hours"},
                                                                              {241, "sectors written"},
                                                                              {242, "sectors read"}}};

std::string_view nameOf(std::uint8_t id) noexcept {
    const auto found = std::ranges::find(names, id, &std::pair<std::uint8_t, std::string_view>::first);
    return found == names.end() ? "unknown" : found->second;
}

// A little-endian number of up to 16 bytes; as much as fits where it is more.
std::int64_t numberAt(const SmartData& data, std::size_t at, std::size_t size) noexcept {
    constexpr std::size_t fitting = sizeof(std::int64_t);
    std::uint64_t number = 0;
    for (std::size_t byte = 0; byte < size; ++byte) {
        if (byte >= fitting && data[at + byte] != 0)
            return std::numeric_limits<std::int64_t>::max();
        if (byte < fitting)
            number |= std::uint64_t{data[at + byte]} << (8 * byte);
    }
    constexpr auto most = std::uint64_t{std::numeric_limits<std::int64_t>::max()};
    return static_cast<std::int64_t>(std::min(number, most));
}

std::optional<std::uint8_t> thresholdOf(const SmartData& thresholds, std::uint8_t id) noexcept {
    for (std::size_t entry = 0; entry < tableEntries; ++entry) {
        const std::size_t at = tableStart + entry * entrySize;
        if (thresholds[at] == id)
            return thresholds[at + 1];
    }
    return std::nullopt;
}

// The figures that mean the same on every maker's drive.
void draw(const SmartAttribute& attribute, SmartDetails& details) {
    constexpr std::uint64_t byte = 0xFF;
    constexpr std::uint64_t fourBytes = 0xFFFFFFFF; // what stands above is another figure
    switch (attribute.id) {
    case powerOnHoursAttribute:
        details.powerOnHours = static_cast<std::int64_t>(attribute.raw & fourBytes);
        break;
    case powerCyclesAttribute:
        details.powerCycles = static_cast<std::int64_t>(attribute.raw & fourBytes);
        break;
    case temperatureAttribute:
        details.temperature = static_cast<double>(attribute.raw & byte);
        break;
    case airflowTemperatureAttribute:
        if (!details.temperature)
            details.temperature = static_cast<double>(attribute.raw & byte);
        break;
    default:
        break;
    }
}

Availability readTables(platform::SmartInterface& drive, SmartDetails& details) {
    SmartData block{};
    if (drive.readHealthLog(block)) {
        details = decodeHealthLog(block);
        return Availability::available;
    }
    errno = 0; // of a step that fails without a word there is no reason
    if (!drive.readData(block) || !drive.validateData(block))
        return platform::availabilityOf(errno);
    SmartData thresholds{};
    const bool hasThresholds = drive.readThresholds(thresholds) && drive.validateData(thresholds);
    details = decodeAttributes(block, hasThresholds ? &thresholds : nullptr);
    return Availability::available;
}

// Leaves the drive's own switches as they were found, on a system where that can be told.
Availability converse(platform::SmartInterface& drive, SmartDetails& details) {
    errno = 0;
    if (!drive.enableOperations(true))
        return platform::availabilityOf(errno);
    const std::optional<bool> exceeded = drive.returnStatus();
    const Availability availability = readTables(drive, details);
    if (availability == Availability::available && exceeded)
        details.healthy = !*exceeded;
    drive.enableOperations(false);
    return availability;
}

// The entry that a drive's health can be asked on; null, with errno set to why, if there is none.
std::shared_ptr<platform::MediaEntry> capableEntry(std::shared_ptr<platform::MediaEntry> entry) {
    int reason = ENODEV;
    while (entry) {
        errno = 0;
        if (entry->isSmartCapable())
            return entry;
        if (platform::availabilityOf(errno) == Availability::denied)
            reason = errno;
        entry = entry->parent();
    }
    errno = reason;
    return nullptr;
}

} // namespace

SmartDetails decodeAttributes(const SmartData& data, const SmartData* thresholds) {
    SmartDetails details;
    for (std::size_t entry = 0; entry < tableEntries; ++entry) {
        const std::size_t at = tableStart + entry * entrySize;
        const std::uint8_t id = data[at];
        if (id == 0)
            continue;
        SmartAttribute& attribute = details.attributes.emplace_back();
        attribute.id = id;
        attribute.name = nameOf(id);
        attribute.value = data[at + valueOffset];
        attribute.worst = data[at + worstOffset];
        attribute.threshold = thresholds ? thresholdOf(*thresholds, id) : std::nullopt;
        attribute.raw = static_cast<std::uint64_t>(numberAt(data, at + rawOffset, rawSize));
        draw(attribute, details);
    }
    return details;
}

SmartDetails decodeHealthLog(const SmartData& log) {
    constexpr int zeroCelsius = 273; // in whole kelvins, as the drives themselves convert
    constexpr std::size_t longNumber = 16;
    SmartDetails details;
    if (const std::int64_t kelvins = numberAt(log, 1, 2); kelvins != 0)
        details.temperature = static_cast<double>(kelvins - zeroCelsius);
    details.spare = log[3];
    details.spareThreshold = log[4];
    details.wear = log[5];
    details.powerCycles = numberAt(log, 112, longNumber);
    details.powerOnHours = numberAt(log, 128, longNumber);
    details.unsafeShutdowns = numberAt(log, 144, longNumber);
    details.mediaErrors = numberAt(log, 160, longNumber);
    return details;
}

Availability readSmartDetails(const char* deviceName, SmartDetails& details, SystemManager& session) {
    const std::unique_ptr<platform::DiskSession> own = session.platform().volumes().openSession();
    const std::shared_ptr<platform::StorageDevice> disk = own ? own->disk(deviceName) : nullptr;
    const std::shared_ptr<platform::StorageDevice> whole = disk ? disk->wholeDisk() : nullptr;
    if (!whole)
        return own ? Availability::unsupported : Availability::failed;
    const std::shared_ptr<platform::MediaEntry> entry = capableEntry(whole->media());
    if (!entry)
        return platform::availabilityOf(errno);
    const std::unique_ptr<platform::SmartPlugIn> plugIn = entry->createSmartPlugIn();
    const std::unique_ptr<platform::SmartInterface> drive = plugIn ? plugIn->queryInterface() : nullptr;
    return drive ? converse(*drive, details) : platform::availabilityOf(errno);
}

} // namespace sentrel::probes
