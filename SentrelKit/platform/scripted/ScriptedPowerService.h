// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/PowerService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <utility>
#include <vector>

namespace sentrel::platform {

/// Power sources made of values. As made, a desktop on the mains: no power source and no battery. The values are set on
/// the test's thread while no other one asks; what is given out keeps those of its time. A description is recorded with
/// its index, a property with its key; handles are told as "power sources" and "battery". `powerSources`, `count`,
/// `description`, `batteryService` and `property` answer nothing when they fail.
class SENTREL_API ScriptedPowerService final : public PowerService {
public:
    [[nodiscard]] std::unique_ptr<PowerSourcesInfo> powerSources() override;
    [[nodiscard]] std::optional<PropertyList::Dictionary> externalAdapterDetails() override;
    [[nodiscard]] std::unique_ptr<BatteryService> batteryService() override;
    bool addChangeSource(void (*changed)(void* context), void* context) override;

    /// Tells every change source, on this thread.
    void change() const;

    ScriptedCalls calls;                             ///< what was asked, and how it fails
    std::vector<PropertyList::Dictionary> sources;   ///< a description for each power source
    std::optional<PropertyList::Dictionary> adapter; ///< what `externalAdapterDetails` answers
    std::optional<PropertyList::Dictionary> battery; ///< the internal battery's properties; absent: no battery

private:
    std::vector<std::pair<void (*)(void*), void*>> changeSources_;
};

} // namespace sentrel::platform
