// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/PowerService.h>

#include <utility>
#include <vector>

namespace sentrel::platform {

/// Power sources made of values. As made, a desktop on the mains: no power source and no battery.
class SENTREL_API ScriptedPowerService final : public PowerService {
public:
    [[nodiscard]] std::unique_ptr<PowerSourcesInfo> powerSources() override;
    [[nodiscard]] std::optional<PropertyList::Dictionary> externalAdapterDetails() override { return adapter; }
    [[nodiscard]] std::unique_ptr<BatteryService> batteryService() override;
    bool addChangeSource(void (*changed)(void* context), void* context) override;

    /// Tells every change source, on this thread.
    void change() const;

    /// How many change sources there are.
    [[nodiscard]] std::size_t changeSources() const noexcept { return changeSources_.size(); }

    /// A description for each power source; an absent one makes asking for it fail.
    std::vector<std::optional<PropertyList::Dictionary>> sources;
    std::optional<PropertyList::Dictionary> adapter; ///< what `externalAdapterDetails` answers
    std::optional<PropertyList::Dictionary> battery; ///< the internal battery's properties; absent: no battery

    bool givesSnapshot = true;  ///< false: no snapshot can be taken
    bool givesList = true;      ///< false: a snapshot has no list
    bool takesObservers = true; ///< false: adding a change source fails with EIO

private:
    std::vector<std::pair<void (*)(void*), void*>> changeSources_;
};

} // namespace sentrel::platform
