// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

/// Builds the interface list of a BSD kernel, byte by byte as the kernel lays it out.
class InterfaceList {
public:
    using Bytes = std::vector<std::uint8_t>;

    struct Interface {
        std::string name = "en0";
        std::uint16_t index = 4;
        std::uint32_t flags = 0x8863; // up, broadcast, running, simplex, multicast
        std::uint8_t type = 6;
        Bytes hardwareAddress = {0xa4, 0x83, 0xe7, 0x01, 0x02, 0x03};
        std::int64_t bytesIn = 0;
        std::int64_t bytesOut = 0;
        std::uint32_t mtu = 1500;
        std::int64_t baudRate = 0;
    };

    /// An interface's message: 32 bytes, 128 of statistics, the link-level address, filled up to its least length.
    InterfaceList& add(const Interface& interface) {
        Bytes message(160);
        put<std::uint32_t>(message, 4, 0x10); // the link-level address alone follows
        put<std::uint32_t>(message, 8, interface.flags);
        put<std::uint16_t>(message, 12, interface.index);
        put<std::uint8_t>(message, 32, interface.type);
        put<std::uint32_t>(message, 40, interface.mtu);
        put<std::int64_t>(message, 48, interface.baudRate);
        put<std::int64_t>(message, 96, interface.bytesIn);
        put<std::int64_t>(message, 104, interface.bytesOut);
        Bytes link(8);
        put<std::uint8_t>(link, 1, 18); // AF_LINK
        put<std::uint16_t>(link, 2, interface.index);
        put<std::uint8_t>(link, 4, interface.type);
        put<std::uint8_t>(link, 5, static_cast<std::uint8_t>(interface.name.size()));
        put<std::uint8_t>(link, 6, static_cast<std::uint8_t>(interface.hardwareAddress.size()));
        link.insert(link.end(), interface.name.begin(), interface.name.end());
        link.insert(link.end(), interface.hardwareAddress.begin(), interface.hardwareAddress.end());
        link.resize(std::max<std::size_t>(link.size(), 20));
        put<std::uint8_t>(link, 0, static_cast<std::uint8_t>(link.size()));
        message.insert(message.end(), link.begin(), link.end());
        return append(std::move(message), 18);
    }

    /// An address's message: 20 bytes, then what stands in the slots of the mask.
    InterfaceList& address(const std::map<int, Bytes>& slots) {
        Bytes message(20);
        std::uint32_t mask = 0;
        for (const auto& [slot, bytes] : slots) {
            mask |= std::uint32_t{1} << slot;
            message.insert(message.end(), bytes.begin(), bytes.end());
            message.resize(message.size() + (8 - bytes.size() % 8) % 8 + (bytes.empty() ? 8 : 0));
        }
        put<std::uint32_t>(message, 4, mask);
        return append(std::move(message), 12);
    }

    /// A message of another type.
    InterfaceList& other(std::uint8_t type) { return append(Bytes(24), type); }

    /// An IPv4 address as this kernel writes it: length, family, port, four bytes, padding.
    static Bytes ipv4(const std::array<std::uint8_t, 4>& address) {
        Bytes bytes{16, 2, 0, 0};
        bytes.insert(bytes.end(), address.begin(), address.end());
        bytes.resize(16);
        return bytes;
    }

    [[nodiscard]] const Bytes& bytes() const { return bytes_; }

private:
    template <class Number>
    static void put(Bytes& to, std::size_t offset, Number number) {
        std::memcpy(to.data() + offset, &number, sizeof(number));
    }

    InterfaceList& append(Bytes message, std::uint8_t type) {
        message.resize((message.size() + 3) / 4 * 4);
        put<std::uint16_t>(message, 0, static_cast<std::uint16_t>(message.size()));
        put<std::uint8_t>(message, 2, 5); // the version of these messages
        put<std::uint8_t>(message, 3, type);
        bytes_.insert(bytes_.end(), message.begin(), message.end());
        return *this;
    }

    Bytes bytes_;
};
