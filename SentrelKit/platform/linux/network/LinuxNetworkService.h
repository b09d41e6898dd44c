// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The network over netlink: counters by the kernel's statistics listing at each sample; names, flags, carrier and
/// addresses only after a notice that they may have changed. Every socket follows the network namespace of the thread
/// that first uses the service.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/linux/common/BusConnection.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/network/DefaultRoute.h>
#include <SentrelKit/platform/linux/network/LinkCounters.h>
#include <SentrelKit/platform/linux/network/LinkTable.h>
#include <SentrelKit/platform/linux/network/NetlinkSocket.h>
#include <SentrelKit/platform/linux/network/WireSettings.h>
#include <SentrelKit/platform/linux/network/WirelessQuery.h>
#include <SentrelKit/platform/support/SampleScope.h>

#include <atomic>

namespace sentrel::platform {

class EventSource;

class LinuxNetworkService final : public NetworkService {
public:
    LinuxNetworkService(SystemRoot root, EventSource& events);

    bool listInterfaces(const std::function<void(const InterfaceInfo&)>& each) override;
    std::optional<MediaStatus> mediaStatus(std::string_view name) override;
    std::optional<std::unique_ptr<InterfaceEntry>> matchInterface(const std::string& name) override;
    Availability packetCounters(std::vector<InterfaceCounters>& counters) override;
    Availability links(std::vector<InterfaceLink>& links) override;
    Availability wirelessLinks(std::vector<WirelessLink>& links) override;
    Connectivity connectivity() override;
    std::unique_ptr<ConfigurationWatch> watchConfiguration(const std::string& name) override;

private:
    friend class LinuxInterfaceEntry;

    void takeNotices() SENTREL_REQUIRES(lock_);
    bool refreshLinks() SENTREL_REQUIRES(lock_);
    bool refreshRoutes() SENTREL_REQUIRES(lock_);
    bool readCounters() SENTREL_REQUIRES(lock_, listing_);
    std::shared_ptr<const LinkTable> beginListing() SENTREL_REQUIRES(listing_);
    void describeLinks() SENTREL_REQUIRES(lock_);
    bool currentLinks() SENTREL_REQUIRES(lock_);

    [[nodiscard]] bool isPrimary(std::uint32_t index);
    [[nodiscard]] std::optional<std::string> networkName(std::uint32_t index);
    [[nodiscard]] std::int64_t bitRate(std::uint32_t index);

    SystemRoot root_;
    EventSource& events_;

    Lock listing_; // taken before lock_, held while a listing is handed over
    std::vector<LinkCounters> counters_ SENTREL_GUARDED_BY(listing_);
    SampleMark countersRead_ SENTREL_GUARDED_BY(lock_);

    Lock lock_;
    bool handingOver_ SENTREL_GUARDED_BY(lock_) = false;
    std::atomic<std::size_t> handedOver_{0}; // the position of the interface that was handed over last
    bool linksStale_ SENTREL_GUARDED_BY(lock_) = true;
    bool routesStale_ SENTREL_GUARDED_BY(lock_) = true;
    NetlinkSocket notices_ SENTREL_GUARDED_BY(lock_);
    SampleMark noticesTaken_ SENTREL_GUARDED_BY(lock_);
    NetlinkSocket route_ SENTREL_GUARDED_BY(lock_);
    NetlinkRequest countersRequest_ SENTREL_GUARDED_BY(lock_);
    std::shared_ptr<const LinkTable> links_ SENTREL_GUARDED_BY(lock_);
    std::optional<DefaultRoute> route4_ SENTREL_GUARDED_BY(lock_);
    std::optional<DefaultRoute> route6_ SENTREL_GUARDED_BY(lock_);
    WirelessQuery wireless_ SENTREL_GUARDED_BY(lock_);
    std::vector<WirelessInterface> radios_ SENTREL_GUARDED_BY(lock_);
    std::shared_ptr<const LinkTable> withoutRadios_ SENTREL_GUARDED_BY(lock_); // these links have none
    WireQuery wires_ SENTREL_GUARDED_BY(lock_);
    std::vector<InterfaceLink> described_ SENTREL_GUARDED_BY(lock_);
    std::shared_ptr<const LinkTable> describedFrom_ SENTREL_GUARDED_BY(lock_);

    Lock busLock_;
    BusConnection bus_ SENTREL_GUARDED_BY(busLock_);
};

} // namespace sentrel::platform
