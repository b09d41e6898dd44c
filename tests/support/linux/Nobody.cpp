// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/Nobody.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sentrel {

void asNobody(const std::function<void()>& check) {
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        const bool isNobody = ::setresgid(nobody, nobody, nobody) == 0 && ::setresuid(nobody, nobody, nobody) == 0;
        EXPECT_TRUE(isNobody);
        // Or the kernel takes the process for one that holds secrets of the user before.
        EXPECT_EQ(::prctl(PR_SET_DUMPABLE, 1), 0);
        check();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

} // namespace sentrel
