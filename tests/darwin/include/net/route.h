// SPDX-License-Identifier: Apache-2.0
#pragma once

// The kind of list is declared with the question itself, sys/sysctl.h.
#include <sys/sysctl.h>

#define RTM_NEWADDR 0xc
#define RTM_IFINFO2 0x12
#define RTA_NETMASK 0x4
#define RTA_IFP 0x10
#define RTA_IFA 0x20
#define RTA_BRD 0x80
