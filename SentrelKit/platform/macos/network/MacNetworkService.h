// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/support/InterfaceMessages.h>

#include <cstdint>
#include <vector>

namespace sentrel::platform {

/// The kernel's interface list, the registry's network interfaces, reachability and the dynamic store.
class MacNetworkService final : public NetworkService {
public:
    bool listInterfaces(const std::function<void(const InterfaceInfo&)>& each) override;
    std::optional<MediaStatus> mediaStatus(std::string_view name) override;
    std::optional<std::unique_ptr<InterfaceEntry>> matchInterface(const std::string& name) override;
    Availability packetCounters(std::vector<InterfaceCounters>& counters) override;
    Availability links(std::vector<InterfaceLink>& links) override;
    Availability wirelessLinks(std::vector<WirelessLink>& links) override;
    Connectivity connectivity() override;
    std::unique_ptr<ConfigurationWatch> watchConfiguration(const std::string& name) override;

private:
    [[nodiscard]] bool readMessages(const std::function<void(const InterfaceMessage&)>& each) SENTREL_REQUIRES(lock_);

    Lock lock_;
    std::vector<std::uint8_t> list_ SENTREL_GUARDED_BY(lock_); // kept for the next listing
    InterfaceMessages messages_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
