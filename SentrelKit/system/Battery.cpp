// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Battery.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/PowerService.h>
#include <SentrelKit/platform/support/Observer.h>
#include <SentrelKit/probes/BatteryProbes.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

namespace sentrel {

namespace {

template <class T>
std::optional<T> read(const platform::BatteryService& service, std::string_view key) {
    const std::optional<PropertyList> value = service.property(key);
    const T* content = value ? value->as<T>() : nullptr;
    return content ? std::optional(*content) : std::nullopt;
}

// Integers are real numbers too.
template <>
std::optional<double> read<double>(const platform::BatteryService& service, std::string_view key) {
    const std::optional<PropertyList> value = service.property(key);
    if (!value)
        return std::nullopt;
    if (const auto* whole = value->as<std::int64_t>())
        return static_cast<double>(*whole);
    const auto* number = value->as<double>();
    return number ? std::optional(*number) : std::nullopt;
}

template <class T>
void store(Relaxed<T>& field, const std::optional<T>& value) {
    if (value)
        field = *value;
}

std::string remainingText(std::int32_t minutes, bool isCharging) {
    if (minutes < 0)
        return "Calculating...";
    if (minutes == 0)
        return {};
    char text[48];
    std::snprintf(text, sizeof text, "%d:%02d%s", minutes / 60, minutes % 60,
                  isCharging ? " until charged" : " remaining");
    return text;
}

} // namespace

/// What a record says, kept beyond the call that brought it.
struct Battery::Record {
    explicit Record(const probes::BatteryData& data) : figures(data), health(data.health) {}

    probes::BatteryData figures; ///< without its text, which went with the call
    std::string health;
};

/// The models of a session. They share one registration, as only the newest block is called.
class Battery::Models {
public:
    /// Delivers the first figures before it returns.
    [[nodiscard]] Observation add(Battery& model, probes::SystemManager& session) {
        return models_.addAndTell(
            [&model](const Record& record) { model.powerSourceChanged(record); },
            [&] {
                if (const std::shared_ptr<char> mark = newRegistration()) {
                    probes::_batteryNotification(
                        [this, mark](const probes::BatteryData* data) {
                            models_.post(Record(*data));
                            models_.tell();
                        },
                        session);
                } else {
                    probes::_getBatteryData(
                        [this](const probes::BatteryData* data) { models_.postToNew(Record(*data)); }, session);
                }
            });
    }

private:
    /// What a new registration keeps; null while one stands.
    [[nodiscard]] std::shared_ptr<char> newRegistration() {
        const LockScope scope(lock_);
        if (!registration_.expired())
            return nullptr;
        auto mark = std::make_shared<char>();
        registration_ = mark;
        return mark;
    }

    platform::Observers<Record> models_;
    Lock lock_;
    std::weak_ptr<char> registration_ SENTREL_GUARDED_BY(lock_); // lives as long as the block is registered
};

Battery::Battery(std::shared_ptr<probes::SystemManager> session) : session_(std::move(session)) {
    {
        const std::unique_ptr<platform::BatteryService> service = session_->platform().power().batteryService();
        if (!service) {
            store(isACPowered_, std::optional(true));
            return;
        }
        hasBattery_ = true;
        readFixedFacts(*service);
    }
    observation_ = session_->shared<Models>().add(*this, *session_);
}

Battery::~Battery() = default;

void Battery::readFixedFacts(const platform::BatteryService& service) {
    store(designCapacity_, read<double>(service, "DesignCapacity"));
    store(designCycleCount_, read<std::int64_t>(service, "DesignCycleCount9C"));
    store(installed_, read<bool>(service, "BatteryInstalled"));
    if (const auto packed = read<std::int64_t>(service, "ManufactureDate")) {
        std::pair<const char*, const char*> texts;
        probes::_unpackBatteryDate(static_cast<std::int32_t>(*packed), &texts, *session_);
        age_ = texts.first;
        manufactured_ = texts.second;
    }
}

void Battery::update() {
    const std::unique_ptr<platform::BatteryService> service = session_->platform().power().batteryService();
    if (!service)
        return;
    const std::optional<bool> isInstalled = read<bool>(*service, "BatteryInstalled");
    store(installed_, isInstalled);
    if (!isInstalled.value_or(false))
        return;
    store(isACPowered_, read<bool>(*service, "ExternalConnected"));
    store(isCharging_, read<bool>(*service, "IsCharging"));
    store(currentCapacity_, read<double>(*service, "CurrentCapacity"));
    store(maxCapacity_, read<double>(*service, "MaxCapacity"));
    store(cycleCount_, read<std::int64_t>(*service, "CycleCount"));
    store(voltage_, read<std::int64_t>(*service, "Voltage"));
    if (const auto hundredths = read<double>(*service, "Temperature"))
        store(temperature_, std::optional(*hundredths / 100));
}

void Battery::powerSourceChanged(const Record& record) {
    const probes::BatteryData& data = record.figures;
    update();
    condition_.setValue(record.health);
    const bool charging = data.isCharging != 0;
    store(hasACondition_, std::optional(data.hasHealth != 0));
    store(isFullyCharged_, std::optional(data.isCharged != 0));
    store(isCharging_, std::optional(charging));
    store(current_, std::optional<std::int64_t>(data.current));
    store(percent_, std::optional<std::int64_t>(data.percent));
    store(acWatts_, std::optional<std::int64_t>(data.watts));
    const std::int32_t minutes = charging ? data.timeToFull : data.timeToEmpty;
    timeRemaining_.setValue(remainingText(minutes, charging));
    remainingMinutes_ = minutes;
    onBatteryChanged_.fire();
}

std::string Battery::timeRemaining() const {
    return timeRemaining_.value();
}

std::optional<std::chrono::minutes> Battery::remainingDuration() const noexcept {
    const std::int32_t minutes = remainingMinutes_;
    return minutes > 0 ? std::optional(std::chrono::minutes(minutes)) : std::nullopt;
}

std::string Battery::condition() const {
    return condition_.value();
}

double Battery::watts() const noexcept {
    return std::round((static_cast<double>(voltage()) / 1000) * (static_cast<double>(current()) / 1000));
}

int Battery::health() const noexcept {
    const double design = designCapacity();
    if (design == 0)
        return 0;
    const double percentage = std::round(maxCapacity() / design * 100);
    // What no integer can hold, not-a-number among it, is no health.
    if (!(std::abs(percentage) < 9e18))
        return 0;
    const auto low = static_cast<std::uint8_t>(static_cast<std::int64_t>(percentage));
    return low > 100 ? 100 : low;
}

} // namespace sentrel
