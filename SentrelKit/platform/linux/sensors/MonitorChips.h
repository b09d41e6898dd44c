// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/platform/linux/common/ClassFolder.h>
#include <SentrelKit/platform/linux/common/NumberFile.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sentrel::platform {

/// The chips of /sys/class/hwmon and their channels: what has a reading ("_input", a power also "_average"). They are
/// looked for when other devices are in the class than before; labels and limits are read then, readings, alarms and
/// faults at each sample.
///
/// The label is the channel's own, else its name ("temp1"). The limits are "_min", "_max" (of a power also "_cap") and
/// "_crit". The alarm is that of the channel or of any of its limits. A channel with a "_fault" is left out, and so are
/// those of a PCI device that the kernel has put to sleep: asking it would wake it, and keep it awake. A disk
/// (drivetemp) is asked; some disks count that as work and do not spin down.
///
/// One thread at a time.
class MonitorChips {
public:
    explicit MonitorChips(SystemRoot root);

    /// As SensorService::sensors says.
    [[nodiscard]] Availability read(std::vector<SensorReading>& readings);

private:
    struct Chip {
        std::string folder; // absolute, below the root
        std::string name;
        std::string identifier;
        std::optional<KeptFile> sleep; // of a PCI device: whether it sleeps
        bool sleeps = false;
    };
    struct Channel {
        SensorReading reading;
        std::size_t chip = 0;
        double units = 1;
        NumberFile input;
        std::optional<NumberFile> fault{};
        std::vector<NumberFile> alarms{};
        bool isRead = false; // at this sample
    };

    void find();
    void findChannels();
    [[nodiscard]] Channel channel(const std::vector<std::string>& names, SensorKind kind, const std::string& stem,
                                  std::string_view item);
    [[nodiscard]] NumberFile file(const std::string& path);
    [[nodiscard]] bool sample(Channel& channel) noexcept;

    const SystemRoot root_;
    ClassFolder folder_;
    std::size_t files_ = 0; // that stay open
    std::vector<Chip> chips_;
    std::vector<Channel> channels_;
};

/// Puts those readings that were made at this sample into the caller's list, whose texts are used again.
template <class Channels>
void fillReadings(std::vector<SensorReading>& readings, const Channels& channels) {
    std::size_t count = 0;
    for (const auto& channel : channels) {
        if (!channel.isRead)
            continue;
        if (count == readings.size())
            readings.push_back(channel.reading);
        else
            readings[count] = channel.reading;
        ++count;
    }
    readings.resize(count);
}

} // namespace sentrel::platform
