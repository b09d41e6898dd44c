// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/InterfaceMessages.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace sentrel::platform {

namespace {

using Bytes = std::span<const std::uint8_t>;

// A message begins with its length, a version and its type.
constexpr std::size_t typeOffset = 3;
constexpr std::size_t commonSize = 4;
constexpr std::uint8_t interfaceType = 18; // RTM_IFINFO2
constexpr std::uint8_t addressType = 12;   // RTM_NEWADDR

// if_msghdr2, and the link-level address (sockaddr_dl) behind it.
constexpr std::size_t flagsOffset = 8;
constexpr std::size_t indexOffset = 12;
constexpr std::size_t kindOffset = 32; // ifi_type of the if_data64 there
constexpr std::size_t mtuOffset = 40;
constexpr std::size_t baudRateOffset = 48;
constexpr std::size_t packetsInOffset = 56; // ifi_ipackets
constexpr std::size_t errorsInOffset = 64;
constexpr std::size_t packetsOutOffset = 72;
constexpr std::size_t errorsOutOffset = 80;
constexpr std::size_t bytesInOffset = 96;
constexpr std::size_t bytesOutOffset = 104;
constexpr std::size_t dropsInOffset = 128; // ifi_iqdrops
constexpr std::size_t linkOffset = 160;
constexpr std::size_t linkFamilyOffset = linkOffset + 1;
constexpr std::uint8_t linkFamily = 18; // AF_LINK
constexpr std::size_t linkTypeOffset = linkOffset + 4;
constexpr std::size_t nameLengthOffset = linkOffset + 5;
constexpr std::size_t hardwareLengthOffset = linkOffset + 6;
constexpr std::size_t nameOffset = linkOffset + 8;
constexpr std::size_t longestName = 65;
constexpr std::size_t hardwareAddressLength = 6;

// ifa_msghdr, and the addresses behind it that its mask names, in the order of the mask's bits.
constexpr std::size_t maskOffset = 4;
constexpr std::size_t addressesOffset = 20;
constexpr int slots = 8;
constexpr int maskSlot = 2;
constexpr int interfaceAddressSlot = 5;
constexpr std::size_t alignment = 8;

template <class Number>
Number numberAt(Bytes bytes, std::size_t offset) noexcept {
    Number number = 0;
    std::memcpy(&number, bytes.data() + offset, sizeof(number));
    return number;
}

// At most so many bytes from an offset on; fewer, or none, where the bytes end before.
Bytes part(Bytes bytes, std::size_t offset, std::size_t count) noexcept {
    offset = std::min(offset, bytes.size());
    return bytes.subspan(offset, std::min(count, bytes.size() - offset));
}

// The first message; empty if there is no whole one.
Bytes firstMessage(Bytes bytes) noexcept {
    if (bytes.size() < commonSize)
        return {};
    const std::size_t length = numberAt<std::uint16_t>(bytes, 0);
    return length < commonSize || length > bytes.size() ? Bytes() : bytes.first(length);
}

// An address takes its own length, rounded up; one of no length still takes a place.
std::size_t placeOf(std::uint8_t length) noexcept {
    return length == 0 ? alignment : (length + alignment - 1) / alignment * alignment;
}

// The addresses fill their message; only the last one's place may end with it. In a message where they do not, they
// were laid out by another rule, and what seems to be the interface's would be bytes of another one.
SocketAddress addressIn(Bytes message, int wanted) noexcept {
    if (message.size() < addressesOffset)
        return {};
    const auto mask = numberAt<std::uint32_t>(message, maskOffset);
    Bytes rest = message.subspan(addressesOffset);
    SocketAddress address;
    for (int slot = 0; slot < slots; ++slot) {
        if ((mask >> slot & 1) == 0)
            continue;
        if (rest.empty() || rest[0] > rest.size())
            return {};
        if (slot == wanted)
            address = rest.first(rest[0]);
        rest = part(rest, placeOf(rest[0]), rest.size());
    }
    return rest.empty() ? address : SocketAddress();
}

InterfaceMessage interfaceOf(Bytes message) noexcept {
    InterfaceMessage interface;
    interface.flags = numberAt<std::uint32_t>(message, flagsOffset);
    interface.index = numberAt<std::uint16_t>(message, indexOffset);
    interface.bytesIn = numberAt<std::int64_t>(message, bytesInOffset);
    interface.bytesOut = numberAt<std::int64_t>(message, bytesOutOffset);
    interface.kind = message[kindOffset];
    interface.hardwareLength = message[hardwareLengthOffset];
    interface.mtu = numberAt<std::uint32_t>(message, mtuOffset);
    interface.baudRate = numberAt<std::int64_t>(message, baudRateOffset);
    interface.packetsIn = numberAt<std::int64_t>(message, packetsInOffset);
    interface.packetsOut = numberAt<std::int64_t>(message, packetsOutOffset);
    interface.errorsIn = numberAt<std::int64_t>(message, errorsInOffset);
    interface.errorsOut = numberAt<std::int64_t>(message, errorsOutOffset);
    interface.dropsIn = numberAt<std::int64_t>(message, dropsInOffset);
    interface.linkType = message[linkTypeOffset];
    const std::size_t nameLength = message[nameLengthOffset];
    const Bytes name = part(message, nameOffset, std::min(nameLength, longestName));
    interface.name = std::string_view(reinterpret_cast<const char*>(name.data()), name.size());
    const Bytes hardware = part(message, nameOffset + nameLength, hardwareAddressLength);
    if (hardware.size() == hardwareAddressLength)
        interface.hardwareAddress = hardware;
    return interface;
}

} // namespace

void InterfaceMessages::read(Bytes bytes, const std::function<void(const InterfaceInfo&)>& each) {
    readWhole(bytes, [&each](const InterfaceMessage& interface) { each(interface); });
}

void InterfaceMessages::readWhole(Bytes bytes, const std::function<void(const InterfaceMessage&)>& each) {
    for (Bytes message = firstMessage(bytes); !message.empty(); message = firstMessage(bytes)) {
        bytes = bytes.subspan(message.size());
        if (message[typeOffset] != interfaceType || message.size() < nameOffset ||
            message[linkFamilyOffset] != linkFamily)
            continue;
        InterfaceMessage interface = interfaceOf(message);
        addresses_.clear();
        masks_.clear();
        for (Bytes next = firstMessage(bytes); !next.empty() && next[typeOffset] == addressType;
             next = firstMessage(bytes)) {
            addresses_.push_back(addressIn(next, interfaceAddressSlot));
            masks_.push_back(addressIn(next, maskSlot));
            bytes = bytes.subspan(next.size());
        }
        interface.addresses = addresses_;
        interface.masks = masks_;
        each(interface);
    }
}

} // namespace sentrel::platform
