// SPDX-License-Identifier: Apache-2.0
#include "tests/examples/EchoServerProgram.h"

#include <vector>

namespace sentrel {
namespace {

TEST_F(EchoServerProgram, TellsEachCallerItsAddress) {
    for (int i = 0; i < 3; ++i) {
        const Descriptor caller = call();
        ASSERT_TRUE(ask(caller));
        EXPECT_TRUE(hearsItsAddress(caller));
    }
}

// It served one caller after the other, and waited two seconds for each who said nothing.
TEST_F(EchoServerProgram, LetsNobodyWaitForASlowCaller) {
    const Descriptor silent = call();
    const Descriptor slow = call();
    ASSERT_TRUE(slow.send("GET / HT"));
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    EXPECT_TRUE(hearsItsAddress(caller));
    EXPECT_TRUE(isOpen(silent));
    EXPECT_TRUE(isOpen(slow));
    ASSERT_TRUE(slow.send("TP/1.1\r\n\r\n"));
    EXPECT_TRUE(hearsItsAddress(slow));
}

TEST_F(EchoServerProgram, LetsTheOldestGoWhereTooManyCall) {
    std::vector<Descriptor> silent;
    for (int i = 0; i < 100; ++i)
        silent.push_back(call());
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    EXPECT_TRUE(hearsItsAddress(caller));
    EXPECT_FALSE(isOpen(silent.front()));
}

} // namespace
} // namespace sentrel
