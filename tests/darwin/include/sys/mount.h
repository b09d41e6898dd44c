// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The mount table. Under other names: the process has a `statfs` of its own.

#include <cstdint>
#include <sys/types.h>

#define statfs statfsDouble

#define MNT_ROOTFS 0x00004000
#define MNT_DONTBROWSE 0x00100000
#define MNT_NOWAIT 2

struct statfs {
    std::uint32_t f_bsize;
    std::int32_t f_iosize;
    std::uint64_t f_blocks;
    std::uint64_t f_bfree;
    std::uint64_t f_bavail;
    std::uint64_t f_files;
    std::uint64_t f_ffree;
    std::int32_t f_fsid[2];
    uid_t f_owner;
    std::uint32_t f_type;
    std::uint32_t f_flags;
    std::uint32_t f_fssubtype;
    char f_fstypename[16];
    char f_mntonname[1024];
    char f_mntfromname[1024];
    std::uint32_t f_flags_ext;
    std::uint32_t f_reserved[7];
};

extern "C" {
int statfs(const char*, struct statfs*);
int getfsstat(struct statfs*, int, int);
}
