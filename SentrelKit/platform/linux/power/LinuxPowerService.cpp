// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/LinuxPowerService.h>

#include <SentrelKit/platform/support/BatteryProperties.h>

#include <utility>

namespace sentrel::platform {

namespace {

class LinuxPowerSourcesInfo final : public PowerSourcesInfo {
public:
    explicit LinuxPowerSourcesInfo(std::vector<PropertyList::Dictionary> sources) : sources_(std::move(sources)) {}

    std::optional<std::size_t> count() const override { return sources_.size(); }
    std::optional<PropertyList::Dictionary> description(std::size_t index) const override {
        return index < sources_.size() ? std::optional(sources_[index]) : std::nullopt;
    }

private:
    std::vector<PropertyList::Dictionary> sources_;
};

} // namespace

LinuxPowerService::LinuxPowerService(const SystemRoot& root, const PowerChangeTimes& times)
    : reader_(std::make_shared<PowerReader>(root)), times_(times) {}

std::unique_ptr<PowerSourcesInfo> LinuxPowerService::powerSources() {
    return std::make_unique<LinuxPowerSourcesInfo>(reader_->read().sources);
}

std::optional<PropertyList::Dictionary> LinuxPowerService::externalAdapterDetails() {
    return reader_->read().adapter;
}

std::unique_ptr<BatteryService> LinuxPowerService::batteryService() {
    std::optional<PropertyList::Dictionary> properties = reader_->read().battery;
    return properties ? std::make_unique<BatteryProperties>(std::move(*properties)) : nullptr;
}

Observation LinuxPowerService::observe(std::function<void()> changed) {
    return observePowerChanges(reader_, times_, std::move(changed));
}

} // namespace sentrel::platform
