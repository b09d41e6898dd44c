#include "MountNamespace.h"

#include <sched.h>
#include <sys/mount.h>

namespace sentrel {

namespace {
bool entered = false;
}

bool enterOwnMountNamespace() {
    if (!entered)
        entered = ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return entered;
}

bool inOwnMountNamespace() {
    return entered;
}

} // namespace sentrel
