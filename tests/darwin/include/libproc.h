// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the kernel tells of a process.

#include <cstdint>
#include <sys/resource.h>
#include <sys/types.h>

#define MAXCOMLEN 16
#define PROC_PIDLISTFDS 1
#define PROC_PIDTBSDINFO 3
#define PROC_PIDTASKINFO 4

struct proc_bsdinfo {
    std::uint32_t pbi_flags;
    std::uint32_t pbi_status;
    std::uint32_t pbi_xstatus;
    std::uint32_t pbi_pid;
    std::uint32_t pbi_ppid;
    uid_t pbi_uid;
    gid_t pbi_gid;
    uid_t pbi_ruid;
    gid_t pbi_rgid;
    uid_t pbi_svuid;
    gid_t pbi_svgid;
    std::uint32_t rfu_1;
    char pbi_comm[MAXCOMLEN];
    char pbi_name[2 * MAXCOMLEN];
    std::uint32_t pbi_nfiles;
    std::uint32_t pbi_pgid;
    std::uint32_t pbi_pjobc;
    std::uint32_t e_tdev;
    std::uint32_t e_tpgid;
    std::int32_t pbi_nice;
    std::uint64_t pbi_start_tvsec;
    std::uint64_t pbi_start_tvusec;
};

struct proc_fdinfo {
    std::int32_t proc_fd;
    std::uint32_t proc_fdtype;
};

struct proc_taskinfo {
    std::uint64_t pti_virtual_size;
    std::uint64_t pti_resident_size;
    std::uint64_t pti_total_user;
    std::uint64_t pti_total_system;
    std::uint64_t pti_threads_user;
    std::uint64_t pti_threads_system;
    std::int32_t pti_policy;
    std::int32_t pti_faults;
    std::int32_t pti_pageins;
    std::int32_t pti_cow_faults;
    std::int32_t pti_messages_sent;
    std::int32_t pti_messages_received;
    std::int32_t pti_syscalls_mach;
    std::int32_t pti_syscalls_unix;
    std::int32_t pti_csw;
    std::int32_t pti_threadnum;
    std::int32_t pti_numrunning;
    std::int32_t pti_priority;
};

extern "C" {
int proc_pidinfo(int pid, int flavor, std::uint64_t arg, void* buffer, int buffersize);
int proc_pid_rusage(int pid, int flavor, rusage_info_t* buffer);
}
