#include <SentrelKit/system/Network.h>

#include <SentrelKit/probes/NetworkProbes.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Notification.h>
#include <SentrelKit/system/Timer.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace sentrel {

namespace {

constexpr std::string_view noInternet = "No Internet";
constexpr std::int64_t samplesBetweenChecks = 31;

// Bytes per second between two readings of a counter. A counter that runs backwards was restarted; it has no rate.
double rate(std::int64_t now, std::int64_t before, std::int64_t milliseconds) noexcept {
    return static_cast<double>(std::max<std::int64_t>(now - before, 0)) * 1000 / static_cast<double>(milliseconds);
}

void setRate(std::atomic<double>& figure, std::atomic<double>& peak, double value) noexcept {
    figure.store(value, std::memory_order_relaxed);
    peak.store(std::max(value, peak.load(std::memory_order_relaxed)), std::memory_order_relaxed);
}

template <class Number>
void addTo(std::atomic<Number>& sum, const std::atomic<Number>& value) noexcept {
    sum.store(sum.load(std::memory_order_relaxed) + value.load(std::memory_order_relaxed), std::memory_order_relaxed);
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
struct Network::Reachability {
    std::atomic<ConnectionType> connection{ConnectionType::internet};
    Atomic<std::optional<std::string>> publicAddress;
    Mutex lookUp; // held while a look-up writes the shared text: one at a time

    void check() {
        lookUp.synchronise([this] {
            if (probes::_isConnectedToInternet() == 0) {
                publicAddress.setValue(std::string(noInternet));
                connection = ConnectionType::local;
                return;
            }
            if (connection.exchange(ConnectionType::internet) != ConnectionType::internet)
                Notification::notify("Network", "Connected to Internet");
            const std::optional<std::string> address = publicAddress.value();
            if (!address || *address == noInternet)
                fetchAddress();
        });
    }

    void refresh() {
        lookUp.synchronise([this] {
            publicAddress.setValue(std::nullopt);
            if (connection == ConnectionType::internet)
                fetchAddress();
        });
    }

private:
    // An address that could not be found is kept as an empty one and not asked for again, which is meant.
    void fetchAddress() {
        publicAddress.setValue(std::nullopt);
        if (const char* address = probes::_getPublicAddress())
            publicAddress.setValue(std::string(address));
    }
};

/// What the configuration watch reports.
struct Network::Configuration {
    Atomic<std::optional<std::string>> localhostName;
    Atomic<std::optional<std::string>> router;
    Atomic<std::optional<std::string>> dns;
};

Network::Network()
    : reachability_(std::make_shared<Reachability>()), configuration_(std::make_shared<Configuration>()) {
    probes::_networkConfigureNotification(
        [configuration = configuration_](const std::optional<std::string>& localhostName,
                                         const std::optional<std::string>& router,
                                         const std::optional<std::vector<std::string>>& dns) {
            configuration->localhostName.setValue(localhostName);
            configuration->router.setValue(router);
            configuration->dns.setValue(joined(dns));
        });
}

Network::~Network() = default;

void Network::update() {
    ++samples_;
    seen_ = 0;
    position_ = 0;
    probes::_getNetworkData(
        [this](std::int64_t time, const char* name, const probes::NetworkData* data) { sample(time, name, *data); });
    if (seen_ == 0) {
        reachability_->publicAddress.setValue(std::nullopt);
        reachability_->connection = ConnectionType::none;
        nextNetworkCheck_ = 0;
    } else if (--nextNetworkCheck_ < 0) {
        nextNetworkCheck_ = samplesBetweenChecks;
        Timer::onBackground([reachability = reachability_] { reachability->check(); });
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

std::shared_ptr<Network::Interface> Network::discover(const char* name, const probes::NetworkData& data) {
    auto interface = std::make_shared<Interface>();
    interface->mac_ = data.mac;
    interface->index_ = data.index;
    probes::_getNetworkExtra(name, [&interface](const probes::NetworkExtra* extra) {
        interface->linkSpeed_ = extra->linkSpeed;
        interface->isPrimary_ = extra->isPrimary != 0;
        interface->isWifi_ = extra->isWireless != 0;
        interface->name_ = extra->name;
    });
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
    setRate(ibytesps_, peakibytesps_, rate(data.bytesIn, ibytes(), elapsed));
    setRate(obytesps_, peakobytesps_, rate(data.bytesOut, obytes(), elapsed));
}

void Network::Interface::take(std::int64_t time, const probes::NetworkData& data) {
    if (address_ != data.address) {
        address_ = data.address;
        ipaddr_.setValue(address_);
    }
    ibytes_.store(data.bytesIn, std::memory_order_relaxed);
    obytes_.store(data.bytesOut, std::memory_order_relaxed);
    timestamp_ = time;
}

void Network::Interface::add(const Interface& other) noexcept {
    addTo(ibytesps_, other.ibytesps_);
    addTo(obytesps_, other.obytesps_);
    addTo(peakibytesps_, other.peakibytesps_);
    addTo(peakobytesps_, other.peakobytesps_);
    addTo(ibytes_, other.ibytes_);
    addTo(obytes_, other.obytes_);
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
    return reachability_->publicAddress.value();
}

std::optional<std::string> Network::localhostName() const {
    return configuration_->localhostName.value();
}

std::optional<std::string> Network::router() const {
    return configuration_->router.value();
}

std::optional<std::string> Network::dns() const {
    return configuration_->dns.value();
}

std::optional<std::string> Network::refreshPublicAddress() {
    reachability_->refresh();
    return publicAddress();
}

} // namespace sentrel
