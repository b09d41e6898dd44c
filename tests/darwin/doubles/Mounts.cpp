// SPDX-License-Identifier: Apache-2.0
#include <sys/mount.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Machine.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

using namespace darwin;

namespace {

template <std::size_t size>
void put(char (&to)[size], const std::string& text) {
    to[text.copy(to, size - 1)] = 0;
}

struct statfs recordOf(const Mount& mount) {
    struct statfs record {};
    record.f_bsize = mount.blockSize;
    record.f_blocks = mount.blocks;
    record.f_bfree = mount.freeBlocks;
    record.f_bavail = mount.freeBlocks / 2; // what a user without privileges may fill
    record.f_flags = mount.flags;
    put(record.f_fstypename, mount.type);
    put(record.f_mntonname, mount.on);
    put(record.f_mntfromname, mount.from);
    return record;
}

} // namespace

extern "C" {

int getfsstat(struct statfs* records, int size, int) {
    if (const auto code = failures::due("getfsstat")) {
        errno = *code;
        return -1;
    }
    const std::vector<Mount>& mounts = machine().mounts;
    if (!records)
        return static_cast<int>(mounts.size());
    const std::size_t count = std::min(mounts.size(), static_cast<std::size_t>(size) / sizeof(struct statfs));
    for (std::size_t index = 0; index < count; ++index)
        records[index] = recordOf(mounts[index]);
    return static_cast<int>(count);
}

int statfs(const char* path, struct statfs* record) {
    if (const auto code = failures::due("statfs")) {
        errno = *code;
        return -1;
    }
    for (const Mount& mount : machine().mounts) {
        if (mount.on == path) {
            *record = recordOf(mount);
            return 0;
        }
    }
    errno = ENOENT;
    return -1;
}

} // extern "C"
