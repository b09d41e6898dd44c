// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPowerService.h>

#include <SentrelKit/platform/support/BatteryProperties.h>

#include <memory>
#include <string>
#include <utility>

namespace sentrel::platform {

namespace {

class Info final : public PowerSourcesInfo {
public:
    explicit Info(ScriptedPowerService& machine)
        : calls_(machine.calls), sources_(machine.sources), handle_(machine.calls, "power sources") {}

    std::optional<std::size_t> count() const override {
        return calls_.fails("count") ? std::nullopt : std::optional(sources_.size());
    }
    std::optional<PropertyList::Dictionary> description(std::size_t index) const override {
        return calls_.fails("description", std::to_string(index)) ? std::nullopt : std::optional(sources_.at(index));
    }

private:
    const ScriptedCalls& calls_;
    const std::vector<PropertyList::Dictionary> sources_;
    const ScriptedHandle handle_;
};

class Battery final : public BatteryService {
public:
    explicit Battery(ScriptedPowerService& machine)
        : calls_(machine.calls), properties_(*machine.battery), handle_(machine.calls, "battery") {}

    std::optional<PropertyList> property(std::string_view key) const override {
        return calls_.fails("property", std::string(key)) ? std::nullopt : properties_.property(key);
    }

private:
    const ScriptedCalls& calls_;
    const BatteryProperties properties_;
    const ScriptedHandle handle_;
};

} // namespace

std::unique_ptr<PowerSourcesInfo> ScriptedPowerService::powerSources() {
    return calls.fails("powerSources") ? nullptr : std::make_unique<Info>(*this);
}

std::optional<PropertyList::Dictionary> ScriptedPowerService::externalAdapterDetails() {
    return calls.fails("externalAdapterDetails") ? std::nullopt : adapter;
}

std::unique_ptr<BatteryService> ScriptedPowerService::batteryService() {
    return calls.fails("batteryService") || !battery ? nullptr : std::make_unique<Battery>(*this);
}

Observation ScriptedPowerService::observe(std::function<void()> changed) {
    if (calls.fails("observe"))
        return {};
    return changeSources_.add([call = std::move(changed)](Change) { call(); },
                              std::make_shared<ScriptedHandle>(calls, "observation"));
}

void ScriptedPowerService::change() {
    changeSources_.post({});
    changeSources_.tell();
}

} // namespace sentrel::platform
