// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Kinds of interfaces.

#define IFT_ETHER 0x6
#define IFT_LOOP 0x18
#define IFT_IEEE1394 0x90
#define IFT_BRIDGE 0xd1
#define IFT_CELLULAR 0xff
