// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LoginRecords.h>

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include "tests/support/Fixtures.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utmpx.h>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LoginRecords, OfALaptopAreItsUsersOnly) {
    const auto records = SystemRoot(fixturePath("host/laptop")).read("/run/utmp");
    ASSERT_TRUE(records);
    EXPECT_THAT(parseLoginRecords(*records),
                ElementsAre(LoggedInUser{"anna", "tty2", "tty2", 1795000100, 1042},
                            LoggedInUser{"berta", "pts/1", "192.0.2.7", 1795003600, 2311}));
}

TEST(LoginRecords, ThatAreCutOffAreLeftOut) {
    const std::string records = *SystemRoot(fixturePath("host/laptop")).read("/run/utmp");
    EXPECT_THAT(parseLoginRecords(""), IsEmpty());
    EXPECT_THAT(parseLoginRecords(std::string_view(records).substr(0, 2 * sizeof(utmpx) - 1)), IsEmpty());
    EXPECT_EQ(parseLoginRecords(std::string_view(records).substr(0, 2 * sizeof(utmpx))).size(), 1U);
}

TEST(LoginRecords, WhoseTextsFillTheirRoomEndWithIt) {
    utmpx record{};
    record.ut_type = USER_PROCESS;
    std::memset(record.ut_user, 'u', sizeof(record.ut_user));
    std::memset(record.ut_line, 'l', sizeof(record.ut_line));
    std::memset(record.ut_host, 'h', sizeof(record.ut_host));
    const auto users = parseLoginRecords({reinterpret_cast<const char*>(&record), sizeof(record)});
    ASSERT_EQ(users.size(), 1U);
    EXPECT_EQ(users[0].name, std::string(sizeof(record.ut_user), 'u'));
    EXPECT_EQ(users[0].terminal, std::string(sizeof(record.ut_line), 'l'));
    EXPECT_EQ(users[0].from, std::string(sizeof(record.ut_host), 'h'));
}

TEST(LoginRecords, OfNobodyAreNone) {
    utmpx record{};
    record.ut_type = USER_PROCESS;
    EXPECT_THAT(parseLoginRecords({reinterpret_cast<const char*>(&record), sizeof(record)}), IsEmpty());
}

} // namespace
} // namespace sentrel::platform
