// SPDX-License-Identifier: Apache-2.0
#pragma once

#define IFM_IEEE80211 0x00000080
#define IFM_NMASK 0x000000e0
#define IFM_FDX 0x00100000
#define IFM_HDX 0x00200000
#define IFM_AVALID 0x00000001
#define IFM_ACTIVE 0x00000002
