// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Reading netlink messages: what a message promises and does not hold is absent, never read past its end.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <libmnl/libmnl.h>
#include <span>
#include <string_view>

namespace sentrel::platform {

using NetlinkBytes = std::span<const std::uint8_t>;

/// Calls `each` with type and payload of every whole attribute in the bytes, which are aligned as a message is.
template <class Each>
void forEachAttribute(NetlinkBytes bytes, Each&& each) {
    const auto* attribute = reinterpret_cast<const nlattr*>(bytes.data());
    const auto* end = bytes.data() + bytes.size();
    for (auto left = static_cast<int>(bytes.size()); mnl_attr_ok(attribute, left); attribute = mnl_attr_next(attribute),
              left = static_cast<int>(end - reinterpret_cast<const std::uint8_t*>(attribute)))
        each(mnl_attr_get_type(attribute),
             NetlinkBytes(static_cast<const std::uint8_t*>(mnl_attr_get_payload(attribute)),
                          mnl_attr_get_payload_len(attribute)));
}

/// The structure at the start of the bytes, or null if they are too short for it.
template <class Header>
const Header* headerOf(NetlinkBytes bytes) noexcept {
    return bytes.size() < sizeof(Header) ? nullptr : reinterpret_cast<const Header*>(bytes.data());
}

/// A message's payload.
inline NetlinkBytes payloadOf(const nlmsghdr& message) noexcept {
    return {static_cast<const std::uint8_t*>(mnl_nlmsg_get_payload(&message)), mnl_nlmsg_get_payload_len(&message)};
}

/// The attributes of a message or nest by type, those up to `Maximum`.
template <std::size_t Maximum>
class NetlinkAttributes {
public:
    /// The attributes that follow `skipped` bytes; none if there are no more bytes than those.
    explicit NetlinkAttributes(NetlinkBytes bytes, std::size_t skipped = 0) {
        const std::size_t start = MNL_ALIGN(skipped);
        if (bytes.size() <= start)
            return;
        forEachAttribute(bytes.subspan(start), [this](std::uint16_t type, NetlinkBytes payload) {
            if (type <= Maximum)
                payloads_[type] = payload;
        });
    }

    [[nodiscard]] bool has(std::size_t type) const noexcept { return payloads_[type].data() != nullptr; }
    [[nodiscard]] NetlinkBytes bytes(std::size_t type) const noexcept { return payloads_[type]; }

    /// The payload as a value of exactly that size, `fallback` where there is none.
    template <class Value>
    [[nodiscard]] Value value(std::size_t type, Value fallback) const noexcept {
        if (payloads_[type].size() == sizeof(Value))
            std::memcpy(&fallback, payloads_[type].data(), sizeof(Value));
        return fallback;
    }

    /// The payload as a text, up to its zero byte if it has one.
    [[nodiscard]] std::string_view text(std::size_t type) const noexcept {
        const std::string_view whole(reinterpret_cast<const char*>(payloads_[type].data()), payloads_[type].size());
        return whole.substr(0, whole.find('\0'));
    }

private:
    std::array<NetlinkBytes, Maximum + 1> payloads_{};
};

} // namespace sentrel::platform
