// SPDX-License-Identifier: Apache-2.0
#pragma once
#include_next <sys/resource.h>

#include <cstdint>

#define RUSAGE_INFO_V2 2

typedef void* rusage_info_t;

struct rusage_info_v2 {
    std::uint8_t ri_uuid[16];
    std::uint64_t ri_user_time;
    std::uint64_t ri_system_time;
    std::uint64_t ri_pkg_idle_wkups;
    std::uint64_t ri_interrupt_wkups;
    std::uint64_t ri_pageins;
    std::uint64_t ri_wired_size;
    std::uint64_t ri_resident_size;
    std::uint64_t ri_phys_footprint;
    std::uint64_t ri_proc_start_abstime;
    std::uint64_t ri_proc_exit_abstime;
    std::uint64_t ri_child_user_time;
    std::uint64_t ri_child_system_time;
    std::uint64_t ri_child_pkg_idle_wkups;
    std::uint64_t ri_child_interrupt_wkups;
    std::uint64_t ri_child_pageins;
    std::uint64_t ri_child_elapsed_abstime;
    std::uint64_t ri_diskio_bytesread;
    std::uint64_t ri_diskio_byteswritten;
};
