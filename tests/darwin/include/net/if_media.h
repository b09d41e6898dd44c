// SPDX-License-Identifier: Apache-2.0
#pragma once

#define IFM_AVALID 0x00000001
#define IFM_ACTIVE 0x00000002
