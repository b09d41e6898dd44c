// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend asks an interface for.

#define IFNAMSIZ 16

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
#pragma pack(pop)
