// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/MountNamespace.h"

#include <sched.h>
#include <sys/mount.h>

namespace sentrel {

namespace {
bool entered = false;
}

void OwnMountNamespace::SetUp() {
    if (!entered)
        entered = ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool inOwnMountNamespace() {
    return entered;
}

} // namespace sentrel
