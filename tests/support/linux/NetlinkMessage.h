// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>
#include <libmnl/libmnl.h>
#include <string>
#include <vector>

namespace sentrel {

/// One netlink message as the kernel would send it.
class NetlinkMessage {
public:
    template <class Header>
    NetlinkMessage(std::uint16_t type, const Header& header, std::uint32_t sequence = 1, std::uint16_t flags = 0)
        : bytes_(16384) {
        message()->nlmsg_len = MNL_NLMSG_HDRLEN;
        message()->nlmsg_type = type;
        message()->nlmsg_seq = sequence;
        message()->nlmsg_flags = flags;
        std::memcpy(mnl_nlmsg_put_extra_header(message(), sizeof header), &header, sizeof header);
    }

    template <class Value>
    NetlinkMessage& add(std::uint16_t type, const Value& value) {
        mnl_attr_put(message(), type, sizeof value, &value);
        return *this;
    }
    NetlinkMessage& addText(std::uint16_t type, const std::string& text) {
        mnl_attr_put_strz(message(), type, text.c_str());
        return *this;
    }
    NetlinkMessage& addBytes(std::uint16_t type, const std::vector<std::uint8_t>& bytes) {
        mnl_attr_put(message(), type, bytes.size(), bytes.data());
        return *this;
    }
    NetlinkMessage& begin(std::uint16_t type) {
        nests_.push_back(mnl_attr_nest_start(message(), type));
        return *this;
    }
    NetlinkMessage& end() {
        mnl_attr_nest_end(message(), nests_.back());
        nests_.pop_back();
        return *this;
    }

    [[nodiscard]] const nlmsghdr& get() const { return *reinterpret_cast<const nlmsghdr*>(bytes_.data()); }
    [[nodiscard]] std::string bytes() const { return {bytes_.data(), MNL_ALIGN(get().nlmsg_len)}; }

private:
    nlmsghdr* message() { return reinterpret_cast<nlmsghdr*>(bytes_.data()); }

    std::vector<char> bytes_;
    std::vector<nlattr*> nests_;
};

} // namespace sentrel
