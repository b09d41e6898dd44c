// SPDX-License-Identifier: Apache-2.0
#pragma once

/// An address as the system lays it out, with its length.

#include <cstdint>

struct in_addr {
    std::uint32_t s_addr;
};

struct sockaddr_in {
    std::uint8_t sin_len;
    std::uint8_t sin_family;
    std::uint16_t sin_port;
    struct in_addr sin_addr;
    char sin_zero[8];
};
