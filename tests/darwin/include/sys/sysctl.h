// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend asks the system's control interface for.

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

#define CTL_KERN 1
#define CTL_VM 2
#define CTL_NET 4
#define KERN_ARGMAX 8
#define KERN_BOOTTIME 21
#define KERN_PROCARGS2 49
#define VM_SWAPUSAGE 5
#define NET_RT_IFLIST2 6

struct xsw_usage {
    uint64_t xsu_total;
    uint64_t xsu_avail;
    uint64_t xsu_used;
    uint32_t xsu_pagesize;
    unsigned int xsu_encrypted;
};

extern "C" {
int sysctl(int*, u_int, void*, size_t*, void*, size_t);
int sysctlbyname(const char*, void*, size_t*, void*, size_t);
}
