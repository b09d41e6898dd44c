// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Network.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/support/Observer.h>
#include <SentrelKit/platform/support/SampleScope.h>
#include <SentrelKit/probes/NetworkProbes.h>
#include <SentrelKit/probes/detail/FailureReports.h>
#include <SentrelKit/system/Notification.h>
#include <SentrelKit/system/detail/PerSecond.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace sentrel {

namespace {

constexpr std::string_view noInternet = "No Internet";
constexpr std::int64_t samplesBetweenChecks = 31;

void setRate(Relaxed<double>& figure, Relaxed<double>& peak, double value) noexcept {
    figure = value;
    peak = std::max<double>(value, peak);
}

// The list that was shown before becomes the room of the next one.
template <class List>
void show(Atomic<List>& shown, List& next) {
    shown.withValue([&next](List& list) { list.swap(next); });
}

template <class List>
void copy(const Atomic<List>& shown, bool isAvailable, List& list) {
    if (isAvailable)
        shown.withValue([&list](const List& current) { list = current; });
    else
        list.clear();
}

std::optional<std::string> joined(const std::optional<std::vector<std::string>>& texts) {
    if (!texts)
        return std::nullopt;
    std::string list;
    for (const std::string& text : *texts) {
        if (&text != &texts->front())
            list += ", ";
        list += text;
    }
    return list;
}

} // namespace

/// What a check on the background queue finds out. The samples write it too.
///
/// A check or a look-up takes as long as name servers and the echo host let it; meanwhile the connection that it asks
/// about may go. Its outcome counts only while that connection stands, which the count of lost connections tells.
struct Network::Reachability {
    explicit Reachability(std::weak_ptr<probes::SystemManager> asked) : session_(std::move(asked)) {}

    /// The last interface has gone.
    void lose() {
        const LockScope scope(lock);
        ++losses;
        connection = ConnectionType::none;
        publicAddress.reset();
    }

    void check() {
        const std::shared_ptr<probes::SystemManager> session = session_.lock();
        if (!session)
            return;
        const std::uint64_t connectionsLost = lossesSoFar();
        const bool isReachable = probes::_isConnectedToInternet(*session) != 0;
        bool isBack = false;
        {
            const LockScope scope(lock);
            if (losses != connectionsLost)
                return;
            if (!isReachable) {
                publicAddress = noInternet;
                connection = ConnectionType::local;
                return;
            }
            isBack = connection.exchange(ConnectionType::internet) != ConnectionType::internet;
        }
        if (isBack)
            announce(session->platform().desktop());
        const std::optional<std::string> known = address();
        if (!known || *known == noInternet)
            fetchAddress(*session, connectionsLost);
    }

    /// Waits for no check that runs: each look-up has a conversation of its own.
    void refresh(probes::SystemManager& session) {
        std::uint64_t connectionsLost = 0;
        {
            const LockScope scope(lock);
            publicAddress.reset();
            if (connection != ConnectionType::internet)
                return;
            connectionsLost = losses;
        }
        fetchAddress(session, connectionsLost);
    }

    [[nodiscard]] std::optional<std::string> address() {
        const LockScope scope(lock);
        return publicAddress;
    }

    std::atomic<ConnectionType> connection{ConnectionType::internet}; // written under the lock

private:
    [[nodiscard]] std::uint64_t lossesSoFar() {
        const LockScope scope(lock);
        return losses;
    }

    void setAddress(std::optional<std::string> found, std::uint64_t connectionsLost) {
        const LockScope scope(lock);
        if (losses == connectionsLost)
            publicAddress = std::move(found);
    }

    // An address that could not be found is kept as an empty one and not asked for again: meant so.
    void fetchAddress(probes::SystemManager& session, std::uint64_t connectionsLost) {
        setAddress(std::nullopt, connectionsLost);
        setAddress(probes::lookUpPublicAddress(session), connectionsLost);
    }

    static void announce(platform::Desktop& desktop) {
        Notification::notify(desktop, "Network", "Connected to Internet", desktop.defaultSoundName());
    }

    // A check whose turn comes when the model and its machine are gone has nothing to find out.
    const std::weak_ptr<probes::SystemManager> session_;

    Lock lock; // never held during a question
    std::uint64_t losses SENTREL_GUARDED_BY(lock) = 0;
    std::optional<std::string> publicAddress SENTREL_GUARDED_BY(lock);
};

/// The checks that were submitted and have not ended, at most one a model: however long one takes, no other queues up
/// behind it. It is held here and not by its closure, which needs no memory for a plain pointer.
class Network::Checks {
public:
    // Never destroyed: a check may end while the process does.
    static Checks& shared() {
        static Checks& checks = *new Checks;
        return checks;
    }

    /// False, with nothing submitted, while a check of this model is under way.
    bool submit(const std::shared_ptr<Reachability>& reachability, DispatchQueue& queue) {
        {
            const LockScope scope(lock_);
            const Check check{reachability, ForkGate::generation()};
            if (std::find(underWay_.begin(), underWay_.end(), check) != underWay_.end())
                return false;
            underWay_.push_back(check);
        }
        queue.async([checked = reachability.get()] {
            const Ending ending{checked};
            checked->check();
        });
        return true;
    }

private:
    struct Check {
        std::shared_ptr<Reachability> reachability;
        unsigned generation; // a check that ran at a fork ends in the parent alone
        friend bool operator==(const Check&, const Check&) = default;
    };

    struct Ending {
        const Reachability* checked;
        ~Ending() { shared().end(checked); }
    };

    void end(const Reachability* checked) {
        std::shared_ptr<Reachability> ended; // may be the last to hold it: released outside the lock
        const LockScope scope(lock_);
        const auto place = std::find_if(underWay_.begin(), underWay_.end(),
                                        [checked](const Check& each) { return each.reachability.get() == checked; });
        ended = std::move(place->reachability);
        underWay_.erase(place);
    }

    Lock lock_;
    std::vector<Check> underWay_ SENTREL_GUARDED_BY(lock_);
};

/// The models of a session. They share one registration, as only the newest block is called.
class Network::Models {
public:
    /// Delivers the configuration before it returns.
    [[nodiscard]] Observation add(Network& model, probes::SystemManager& session) {
        return models_.addAndTell(
            [&model](const probes::NetworkConfiguration& configuration) { model.mirror(configuration); },
            [&] {
                probes::_networkConfigureNotification(
                    [this](const std::optional<std::string>& localhostName, const std::optional<std::string>& router,
                           const std::optional<std::vector<std::string>>& dns) {
                        models_.offer({localhostName, router, dns});
                        models_.tell();
                    },
                    session);
            });
    }

private:
    platform::Observers<probes::NetworkConfiguration> models_;
};

Network::Network(std::shared_ptr<probes::SystemManager> session)
    : session_(std::move(session)), reachability_(std::make_shared<Reachability>(session_)) {
    observation_ = session_->shared<Models>().add(*this, *session_);
}

Network::~Network() = default;

void Network::mirror(const probes::NetworkConfiguration& configuration) {
    localhostName_.setValue(configuration.localhostName);
    router_.setValue(configuration.routerAddr);
    dns_.setValue(joined(configuration.dnsAddrs));
}

void Network::update() {
    const ForkGate::Inside whole;               // what the sampling thread keeps has no lock
    std::optional<platform::SampleScope> scope; // bytes and packets are counted in one listing
    if (measuring_.wanted() != MeasureSet<Measure>{})
        scope.emplace();
    const probes::SamplingReports reports(*session_);
    ++samples_;
    seen_ = 0;
    position_ = 0;
    probes::_getNetworkData(
        [this](std::int64_t time, const char* name, const probes::NetworkData* data) { sample(time, name, *data); },
        *session_);
    if (seen_ == 0) {
        reachability_->lose();
        nextNetworkCheck_ = 0;
    } else if (--nextNetworkCheck_ < 0) {
        // While a check is under way, of a connection that has gone perhaps, each sample tries again.
        nextNetworkCheck_ =
            Checks::shared().submit(reachability_, *session_->backgroundQueue) ? samplesBetweenChecks : 0;
    }
    // The set is replaced only when it is another one: a sample that finds the same interfaces allocates nothing.
    prevInterfaces_.withValue([this](Interfaces& current) {
        if (added_.empty() && seen_ == current.size())
            return;
        std::erase_if(current, [this](const auto& entry) { return entry.second->sample_ != samples_; });
        for (auto& [name, interface] : added_)
            current.insert_or_assign(name, std::move(interface));
    });
    added_.clear();
    order_.resize(position_);
    sampleMeasures();
}

void Network::sampleMeasures() {
    platform::NetworkService& network = session_->platform().network();
    if (measuring_.wants(Measure::traffic)) {
        const std::int64_t time = session_->platform().clock().monotonicNanoseconds();
        const Availability availability = network.packetCounters(nextCounters_);
        if (availability == Availability::available) {
            rates_.take(nextCounters_, time, nextTraffic_);
            show(traffic_, nextTraffic_);
        }
        measuring_.note(Measure::traffic, availability);
    } else {
        rates_.forget();
    }
    if (measuring_.wants(Measure::links)) {
        const Availability availability = network.links(nextLinks_);
        if (availability == Availability::available)
            show(links_, nextLinks_);
        measuring_.note(Measure::links, availability);
    }
    if (measuring_.wants(Measure::wireless)) {
        const Availability availability = network.wirelessLinks(nextWireless_);
        if (availability == Availability::available)
            show(wireless_, nextWireless_);
        measuring_.note(Measure::wireless, availability);
    }
}

void Network::traffic(std::vector<probes::InterfaceTraffic>& list) const {
    copy(traffic_, measuring_.has(Measure::traffic), list);
}

std::vector<probes::InterfaceTraffic> Network::traffic() const {
    std::vector<probes::InterfaceTraffic> list;
    traffic(list);
    return list;
}

std::optional<probes::InterfaceTraffic> Network::primaryTraffic() const {
    if (!measuring_.has(Measure::traffic))
        return std::nullopt;
    const auto primary = prevInterfaces_.withValue([](const Interfaces& current) {
        const auto found = std::ranges::find_if(current, [](const auto& entry) { return entry.second->isPrimary(); });
        return found == current.end() ? 0 : found->second->index_;
    });
    return traffic_.withValue([primary](const std::vector<probes::InterfaceTraffic>& list) {
        const auto found = std::ranges::find_if(
            list, [primary](const probes::InterfaceTraffic& each) { return each.counters.index == primary; });
        return found == list.end() ? std::nullopt : std::optional(*found);
    });
}

void Network::links(std::vector<InterfaceLink>& list) const {
    copy(links_, measuring_.has(Measure::links), list);
}

std::vector<InterfaceLink> Network::links() const {
    std::vector<InterfaceLink> list;
    links(list);
    return list;
}

void Network::wireless(std::vector<WirelessLink>& list) const {
    copy(wireless_, measuring_.has(Measure::wireless), list);
}

std::vector<WirelessLink> Network::wireless() const {
    std::vector<WirelessLink> list;
    wireless(list);
    return list;
}

void Network::sample(std::int64_t time, const char* name, const probes::NetworkData& data) {
    // The listing keeps its order while nothing changes: then each interface stands where it stood the last time.
    if (position_ == order_.size() || order_[position_].second->index_ != data.index ||
        order_[position_].first != name) {
        order_.resize(position_);
        order_.emplace_back(name, known(name, data.index));
    }
    std::shared_ptr<Interface>& interface = order_[position_].second;
    ++position_;
    if (interface) {
        interface->measure(time, data);
    } else {
        interface = discover(name, data);
        added_[name] = interface;
    }
    if (interface->sample_ != samples_)
        ++seen_;
    interface->sample_ = samples_;
    interface->take(time, data);
}

std::shared_ptr<Network::Interface> Network::discover(const char* name, const probes::NetworkData& data) const {
    auto interface = std::make_shared<Interface>();
    interface->mac_ = data.mac;
    interface->index_ = data.index;
    const auto take = [&interface](const probes::NetworkExtra* extra) {
        interface->linkSpeed_ = extra->linkSpeed;
        interface->isPrimary_ = extra->isPrimary != 0;
        interface->isWifi_ = extra->isWireless != 0;
        interface->name_ = extra->name;
    };
    probes::_getNetworkExtra(name, take, *session_);
    return interface;
}

std::shared_ptr<Network::Interface> Network::known(const char* name, std::uint32_t index) const {
    return prevInterfaces_.withValue([&](const Interfaces& current) {
        const auto entry = current.find(std::string_view(name));
        return entry != current.end() && entry->second->index_ == index ? entry->second : nullptr;
    });
}

void Network::Interface::measure(std::int64_t time, const probes::NetworkData& data) noexcept {
    const std::int64_t elapsed = time - timestamp_;
    if (elapsed <= 0)
        return;
    setRate(ibytesps_, peakibytesps_, perSecond(data.bytesIn, ibytes(), elapsed));
    setRate(obytesps_, peakobytesps_, perSecond(data.bytesOut, obytes(), elapsed));
}

void Network::Interface::take(std::int64_t time, const probes::NetworkData& data) {
    if (address_ != data.address) {
        address_ = data.address;
        ipaddr_.setValue(address_);
    }
    ibytes_ = data.bytesIn;
    obytes_ = data.bytesOut;
    timestamp_ = time;
}

void Network::Interface::add(const Interface& other) noexcept {
    ibytesps_ = ibytesps_ + other.ibytesps_;
    obytesps_ = obytesps_ + other.obytesps_;
    peakibytesps_ = peakibytesps_ + other.peakibytesps_;
    peakobytesps_ = peakobytesps_ + other.peakobytesps_;
    ibytes_ = ibytes_ + other.ibytes_;
    obytes_ = obytes_ + other.obytes_;
}

std::shared_ptr<Network::Interface> Network::aggregated() const {
    auto sum = std::make_shared<Interface>();
    prevInterfaces_.withValue([&sum](const Interfaces& current) {
        for (const auto& [name, interface] : current)
            sum->add(*interface);
    });
    return sum;
}

Network::ConnectionType Network::connection() const noexcept {
    return reachability_->connection;
}

std::optional<std::string> Network::publicAddress() const {
    return reachability_->address();
}

std::optional<std::string> Network::localhostName() const {
    return localhostName_.value();
}

std::optional<std::string> Network::router() const {
    return router_.value();
}

std::optional<std::string> Network::dns() const {
    return dns_.value();
}

std::optional<std::string> Network::refreshPublicAddress() {
    reachability_->refresh(*session_);
    return publicAddress();
}

} // namespace sentrel
