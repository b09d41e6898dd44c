// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/PowerService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>
#include <SentrelKit/platform/support/Observer.h>

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
    [[nodiscard]] Observation observe(std::function<void()> changed) override;

    /// Tells every change source, on this thread.
    void change();

    /// How many change sources there are.
    [[nodiscard]] std::size_t changeSources() const { return changeSources_.count(); }

    ScriptedCalls calls;                             ///< what was asked, and how it fails
    std::vector<PropertyList::Dictionary> sources;   ///< a description for each power source
    std::optional<PropertyList::Dictionary> adapter; ///< what `externalAdapterDetails` answers
    std::optional<PropertyList::Dictionary> battery; ///< the internal battery's properties; absent: no battery

private:
    Observers<Change> changeSources_;
};

} // namespace sentrel::platform
