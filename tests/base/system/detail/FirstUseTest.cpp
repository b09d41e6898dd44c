// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/detail/FirstUse.h>

#include "tests/support/Await.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel {
namespace {

TEST(FirstUse, MakesOneValueForAllWhoComeAtOnce) {
    FirstUse<int> use;
    std::atomic<int> made{0};
    std::vector<const int*> values(4);
    std::vector<std::thread> users;
    for (const int*& value : values)
        users.emplace_back([&] { value = &use.get([&] { return new int(++made); }); });
    for (std::thread& user : users)
        user.join();
    EXPECT_EQ(made, 1);
    for (const int* value : values)
        EXPECT_EQ(value, values[0]);
    delete values[0];
}

TEST(FirstUse, TriesAgainAfterAnException) {
    FirstUse<int> use;
    EXPECT_THROW(use.get([]() -> int* { throw std::runtime_error("no"); }), std::runtime_error);
    static int value = 5;
    EXPECT_EQ(use.get([] { return &value; }), 5);
}

// A static variable of a function would be waited for in the child for ever.
TEST(FirstUse, AChildMakesItsOwnWhereTheParentWasMakingOne) {
    FirstUse<int> use;
    static int parents = 1;
    static int childs = 2;
    Event isMaking;
    Event mayEnd;
    std::thread maker([&] {
        use.get([&] {
            isMaking.happened();
            EXPECT_TRUE(mayEnd.await());
            return &parents;
        });
    });
    EXPECT_TRUE(isMaking.await());
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(10);
        ::_exit(use.get([] { return &childs; }) == 2 ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    mayEnd.happened();
    maker.join();
    EXPECT_EQ(use.get([]() -> int* { return nullptr; }), 1);
}

} // namespace
} // namespace sentrel
