// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/macos/common/CFOwner.h>

#include <SystemConfiguration/SystemConfiguration.h>

#include <memory>

namespace sentrel::platform {

/// A session with the dynamic store.
class MacConfigurationWatch final : public ConfigurationWatch {
public:
    /// Opens a session of that name; null if the store cannot be reached, or for a name that is not UTF-8.
    [[nodiscard]] static std::unique_ptr<MacConfigurationWatch> create(const std::string& name);

    bool setNotificationKeys(const std::vector<std::string>& keys) override;
    Observation schedule(std::shared_ptr<DispatchQueue> queue, std::function<void()> changed) override;
    std::optional<std::string> localHostName() override;
    std::optional<PropertyList> value(std::string_view key) override;

private:
    struct Callout;
    class Schedule;

    using Store = std::shared_ptr<CFOwner<SCDynamicStoreRef>>; // a schedule keeps it too

    MacConfigurationWatch(std::shared_ptr<Callout> callout, CFOwner<SCDynamicStoreRef> store);

    const std::shared_ptr<Callout> callout_;
    const Store store_;
};

} // namespace sentrel::platform
