// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend asks an interface for, and the messages of the interface list.

#include <cstdint>

#define IFNAMSIZ 16
#define IFF_UP 0x1
#define IFF_RUNNING 0x40

#pragma pack(push, 4)
struct ifmediareq {
    char ifm_name[IFNAMSIZ];
    int ifm_current;
    int ifm_mask;
    int ifm_status;
    int ifm_active;
    int ifm_count;
    int* ifm_ulist;
};

struct if_data64 {
    unsigned char ifi_type;
    unsigned char ifi_typelen;
    unsigned char ifi_physical;
    unsigned char ifi_addrlen;
    unsigned char ifi_hdrlen;
    unsigned char ifi_recvquota;
    unsigned char ifi_xmitquota;
    unsigned char ifi_unused1;
    std::uint32_t ifi_mtu;
    std::uint32_t ifi_metric;
    std::uint64_t ifi_baudrate;
    std::uint64_t ifi_ipackets;
    std::uint64_t ifi_ierrors;
    std::uint64_t ifi_opackets;
    std::uint64_t ifi_oerrors;
    std::uint64_t ifi_collisions;
    std::uint64_t ifi_ibytes;
    std::uint64_t ifi_obytes;
    std::uint64_t ifi_imcasts;
    std::uint64_t ifi_omcasts;
    std::uint64_t ifi_iqdrops;
    std::uint64_t ifi_noproto;
    std::uint32_t ifi_recvtiming;
    std::uint32_t ifi_xmittiming;
    std::uint32_t ifi_lastchange[2];
};

struct if_msghdr2 {
    unsigned short ifm_msglen;
    unsigned char ifm_version;
    unsigned char ifm_type;
    int ifm_addrs;
    int ifm_flags;
    unsigned short ifm_index;
    int ifm_snd_len;
    int ifm_snd_maxlen;
    int ifm_snd_drops;
    int ifm_timer;
    struct if_data64 ifm_data;
};

struct ifa_msghdr {
    unsigned short ifam_msglen;
    unsigned char ifam_version;
    unsigned char ifam_type;
    int ifam_addrs;
    int ifam_flags;
    unsigned short ifam_index;
    int ifam_metric;
};
#pragma pack(pop)
