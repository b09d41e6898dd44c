// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/NetworkProbes.h>

#include <SentrelKit/base/system/Net.h>
#include <SentrelKit/base/system/System.h>
#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/base/util/Str.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/probes/detail/EchoReply.h>
#include <SentrelKit/probes/detail/FailureReports.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace sentrel::probes {

namespace {

constexpr std::int32_t maximumPort = 65535;
constexpr std::size_t macBytes = 6;

constexpr Operation listOperation{"_getNetworkData", false};
constexpr Operation extraOperation{"_getNetworkExtra", false}; // of whichever interface: they fail together

// Whatever the host's locale takes for a letter.
constexpr std::string_view nameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_";

bool isAcceptable(const EchoHost& host) {
    return host.port >= 1 && host.port <= maximumPort &&
           host.name.find_first_not_of(nameCharacters) == std::string::npos;
}

// The whole text as a port, or 0.
std::int32_t portOf(const char* text) {
    char* end = nullptr;
    const long port = std::strtol(text, &end, 10);
    return end != text && *end == '\0' && port >= 1 && port <= maximumPort ? static_cast<std::int32_t>(port) : 0;
}

EchoHost environmentHost() {
    EchoHost host;
    if (const char* name = std::getenv("SENTREL_ECHO_HOST"))
        host.name = name;
    if (const char* port = std::getenv("SENTREL_ECHO_PORT"))
        host.port = portOf(port);
    if (isAcceptable(host))
        return host;
    System_error("Error: the echo host '%s' of the environment is not usable\n", host.name.c_str());
    return {};
}

struct Configuration {
    Lock lock;
    EchoHost host SENTREL_GUARDED_BY(lock) = environmentHost();
};

// Never destroyed: a background check may ask while the process ends.
Configuration& configuration() {
    static Configuration& shared = *new Configuration;
    return shared;
}

using PublicAddressText = std::array<char, sizeof SystemManager::publicAddress>;

/// A name of at most 255 bytes, cut between characters.
class NameBuffer {
public:
    void take(const PropertyList* property) {
        const std::string* text = property ? property->as<std::string>() : nullptr;
        if (!text)
            return;
        std::size_t length = std::min(text->size(), buffer_.size() - 1);
        while (length < text->size() && length > 0 && (static_cast<unsigned char>((*text)[length]) & 0xC0) == 0x80)
            --length;
        Str_copy(buffer_.data(), text->c_str(), static_cast<std::int32_t>(length));
    }
    [[nodiscard]] const char* textOr(const char* fallback) const {
        return buffer_.front() == '\0' ? fallback : buffer_.data();
    }

private:
    std::array<char, 256> buffer_{};
};

bool isCandidate(const platform::InterfaceInfo& interface) {
    using platform::InterfaceInfo;
    return (interface.flags & InterfaceInfo::up) != 0 && (interface.flags & InterfaceInfo::loopback) == 0 &&
           interface.linkType == InterfaceInfo::ethernetLinkType;
}

bool isActive(platform::NetworkService& network, std::string_view name) {
    const std::optional<platform::MediaStatus> media = network.mediaStatus(name);
    return media && media->valid && media->active;
}

/// One interface of a listing. Its texts are kept for the next listing: converting them takes longer than all the rest,
/// for a link-local address even system calls.
class InterfaceRecord {
public:
    /// Makes this the record of the interface.
    void take(const platform::InterfaceInfo& interface) {
        bytesIn_ = interface.bytesIn;
        bytesOut_ = interface.bytesOut;
        takeTexts(interface);
    }

    [[nodiscard]] const char* name() const noexcept { return name_.data(); }
    [[nodiscard]] NetworkData data() const noexcept {
        return {bytesIn_, bytesOut_, address_.data(), mac_.data(), index_};
    }
    [[nodiscard]] bool hasAddress() const noexcept { return address_.front() != '\0'; }

private:
    void takeTexts(const platform::InterfaceInfo& interface) {
        const platform::SocketAddress first =
            interface.addresses.empty() ? platform::SocketAddress() : interface.addresses[0];
        if (valid_ && index_ == interface.index && interface.name == name() &&
            same(interface.hardwareAddress, hardware_) && same(first, first_))
            return;
        index_ = interface.index;
        name_[interface.name.copy(name_.data(), name_.size() - 1)] = '\0';
        hardware_.assign(interface.hardwareAddress.begin(), interface.hardwareAddress.end());
        first_.assign(first.begin(), first.end());
        Net_mac2str(mac_.data(), hardware_.size() >= macBytes ? hardware_.data() : nullptr);
        // Only what the first address gives can be known to hold while it stays.
        valid_ = convert(first);
        for (std::size_t next = 1; !valid_ && next < interface.addresses.size(); ++next) {
            if (convert(interface.addresses[next]))
                break;
        }
    }

    static bool same(std::span<const std::uint8_t> a, const std::vector<std::uint8_t>& b) noexcept {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

    bool convert(const platform::SocketAddress& address) {
        address_[0] = '\0';
        const bool converts =
            !address.empty() && Net_getAddrInfo(reinterpret_cast<const sockaddr*>(address.data()),
                                                static_cast<std::uint32_t>(address.size()), address_.data(),
                                                static_cast<std::uint32_t>(address_.size())) == 0;
        if (!converts)
            address_[0] = '\0';
        return converts;
    }

    bool valid_ = false;
    std::uint32_t index_ = 0;
    std::int64_t bytesIn_ = 0;
    std::int64_t bytesOut_ = 0;
    std::vector<std::uint8_t> hardware_;
    std::vector<std::uint8_t> first_;
    std::array<char, 66> name_{};
    std::array<char, 18> mac_{};
    std::array<char, 65> address_{};
};

using InterfaceRecords = std::vector<InterfaceRecord>;

/// The records of the last listing. Who lists takes them: another one meanwhile, of the block say, starts without.
class KeptRecords {
public:
    KeptRecords() = default;
    ~KeptRecords() { take(); }
    KeptRecords(const KeptRecords&) = delete;
    KeptRecords& operator=(const KeptRecords&) = delete;

    std::unique_ptr<InterfaceRecords> take() noexcept {
        return std::unique_ptr<InterfaceRecords>(records_.exchange(nullptr));
    }
    void keep(std::unique_ptr<InterfaceRecords> records) noexcept {
        const std::unique_ptr<InterfaceRecords> before(records_.exchange(records.release()));
    }

private:
    std::atomic<InterfaceRecords*> records_{nullptr};
};

/// One listing of the interfaces, into records that may have served before.
struct Listing {
    platform::Platform& platform;
    InterfaceRecords& records;
    std::size_t count = 0; ///< how many of the records are of this listing
    std::int64_t time = 0;

    void take(const platform::InterfaceInfo& interface) {
        if (time == 0)
            time = Time_milli(platform.clock());
        if (!isCandidate(interface) || !isActive(platform.network(), interface.name))
            return;
        if (count == records.size())
            records.emplace_back();
        records[count++].take(interface);
    }
};

} // namespace

bool setEchoHost(const EchoHost& host) {
    if (!isAcceptable(host))
        return false;
    Configuration& shared = configuration();
    const LockScope scope(shared.lock);
    shared.host = host;
    return true;
}

std::optional<EchoHost> echoHost() {
    Configuration& shared = configuration();
    const LockScope scope(shared.lock);
    return shared.host.name.empty() ? std::nullopt : std::optional(shared.host);
}

int _isConnectedToInternet(SystemManager& session) {
    if (const std::optional<EchoHost> host = echoHost())
        return session.platform().network().resolves(host->name) ? 1 : 0;
    return session.platform().network().connectivity() == platform::Connectivity::yes ? 1 : 0;
}

std::optional<std::string> lookUpPublicAddress(SystemManager& session) {
    session.setPublicAddress({});
    const std::optional<EchoHost> host = echoHost();
    const std::unique_ptr<platform::Connection> connection =
        host ? session.platform().network().connect(host->name, host->port) : nullptr;
    if (!connection)
        return std::nullopt;
    PublicAddressText address{};
    if (connection->write("GET / HTTP/1.1\r\nHost: " + host->name + "\r\nConnection: Close\r\n\r\n"))
        readEchoReply(*connection, address.data(), address.size());
    session.setPublicAddress(address.data());
    return address.data();
}

const char* _getPublicAddress(SystemManager& session) {
    return lookUpPublicAddress(session) ? session.publicAddress : nullptr;
}

void _getNetworkData(const NetworkDataBlock& block, SystemManager& session) {
    auto& kept = session.shared<KeptRecords>();
    std::unique_ptr<InterfaceRecords> records = kept.take();
    if (!records)
        records = std::make_unique<InterfaceRecords>();
    Listing listing{session.platform(), *records};
    const bool listed = listing.platform.network().listInterfaces(
        [&listing](const platform::InterfaceInfo& interface) { listing.take(interface); });
    if (listed)
        succeeded(listOperation);
    else if (isToBeTold(listOperation))
        System_error("Error: _getNetworkData -- %s", System_getLastError());
    // Only now, when the service holds none of its locks any more.
    for (const InterfaceRecord& record : std::span(*records).first(listing.count)) {
        const NetworkData data = record.data();
        if (record.hasAddress())
            block(listing.time, record.name(), &data);
    }
    kept.keep(std::move(records));
}

void _getNetworkExtra(const char* name, const NetworkExtraBlock& block, SystemManager& session) {
    const auto match = session.platform().network().matchInterface(name);
    if (!match) {
        if (isToBeTold(extraOperation))
            System_error("Error: _getNetworkExtra for '%s' -- %s", name, System_getLastError());
        return;
    }
    succeeded(extraOperation);
    const std::unique_ptr<platform::InterfaceEntry>& entry = *match;
    const std::optional<PropertyList> properties = entry ? entry->properties() : std::nullopt;
    if (!properties)
        return;
    NetworkExtra extra;
    NameBuffer text;
    const PropertyList* primary = properties->find("IOPrimaryInterface");
    const bool* isPrimary = primary ? primary->as<bool>() : nullptr;
    extra.isPrimary = isPrimary && *isPrimary ? 1 : 0;
    if (const PropertyList* network = properties->find("IO80211SSID")) {
        extra.isWireless = 1;
        text.take(network);
        extra.name = text.textOr("Wifi");
    } else {
        const PropertyList product = entry->search("USB Product Name");
        text.take(&product);
        extra.name = text.textOr("Ethernet");
    }
    const PropertyList speed = entry->search("IOLinkSpeed");
    if (const std::int64_t* bitsPerSecond = speed.as<std::int64_t>())
        extra.linkSpeed = *bitsPerSecond;
    block(&extra);
}

} // namespace sentrel::probes
