// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/LoginRecord.h>

#include <cstring>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

utmpx recordOf(int type, const char* user) {
    utmpx record{};
    record.ut_type = static_cast<short>(type);
    std::strncpy(record.ut_user, user, sizeof(record.ut_user));
    std::strncpy(record.ut_line, "pts/1", sizeof(record.ut_line));
    std::strncpy(record.ut_host, "192.0.2.7", sizeof(record.ut_host));
    record.ut_tv.tv_sec = 1'795'000'100;
    record.ut_pid = 1042;
    return record;
}

TEST(LoginRecord, OfASessionNamesItsUser) {
    EXPECT_EQ(userOf(recordOf(USER_PROCESS, "anna")),
              (LoggedInUser{"anna", "pts/1", "192.0.2.7", 1'795'000'100, 1042}));
}

TEST(LoginRecord, OfAnythingElseNamesNobody) {
    for (const int type : {BOOT_TIME, INIT_PROCESS, LOGIN_PROCESS, DEAD_PROCESS})
        EXPECT_EQ(userOf(recordOf(type, "anna")), std::nullopt) << type;
    EXPECT_EQ(userOf(recordOf(USER_PROCESS, "")), std::nullopt);
}

TEST(LoginRecord, HasTextsThatEndWithTheirRoom) {
    utmpx record = recordOf(USER_PROCESS, "anna");
    std::memset(record.ut_user, 'u', sizeof(record.ut_user));
    std::memset(record.ut_line, 'l', sizeof(record.ut_line));
    std::memset(record.ut_host, 'h', sizeof(record.ut_host));
    const auto user = userOf(record);
    ASSERT_TRUE(user);
    EXPECT_EQ(user->name, std::string(sizeof(record.ut_user), 'u'));
    EXPECT_EQ(user->terminal, std::string(sizeof(record.ut_line), 'l'));
    EXPECT_EQ(user->from, std::string(sizeof(record.ut_host), 'h'));
}

} // namespace
} // namespace sentrel::platform
