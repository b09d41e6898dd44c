// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPowerService.h>

#include <SentrelKit/platform/support/BatteryProperties.h>

#include <cerrno>

namespace sentrel::platform {

namespace {

class Info final : public PowerSourcesInfo {
public:
    explicit Info(const ScriptedPowerService& machine) : sources_(machine.sources), listed_(machine.givesList) {}

    std::optional<std::size_t> count() const override {
        return listed_ ? std::optional(sources_.size()) : std::nullopt;
    }
    std::optional<PropertyList::Dictionary> description(std::size_t index) const override { return sources_.at(index); }

private:
    std::vector<std::optional<PropertyList::Dictionary>> sources_;
    bool listed_;
};

} // namespace

std::unique_ptr<PowerSourcesInfo> ScriptedPowerService::powerSources() {
    return givesSnapshot ? std::make_unique<Info>(*this) : nullptr;
}

std::unique_ptr<BatteryService> ScriptedPowerService::batteryService() {
    return battery ? std::make_unique<BatteryProperties>(*battery) : nullptr;
}

bool ScriptedPowerService::addChangeSource(void (*changed)(void* context), void* context) {
    if (!takesObservers) {
        errno = EIO;
        return false;
    }
    changeSources_.emplace_back(changed, context);
    return true;
}

void ScriptedPowerService::change() const {
    for (const auto& [changed, context] : std::vector(changeSources_))
        changed(context);
}

} // namespace sentrel::platform
