// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/NetworkService.h>

#include <SentrelKit/platform/Connection.h>
#include <SentrelKit/platform/Platform.h>

#include "tests/support/Loopback.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

TEST(NetworkService, ConnectsAndGivesWhatComesInTime) {
    const Listener listener;
    const auto connection = current().network().connect("127.0.0.1", listener.port());
    ASSERT_TRUE(connection);
    const Descriptor far = listener.accept();
    EXPECT_TRUE(connection->write("question"));
    EXPECT_EQ(far.receive(8), "question");
    ASSERT_TRUE(far.send("answer"));
    std::array<char, 16> bytes{};
    std::string got;
    while (got.size() < 6) {
        const std::size_t count = connection->read(bytes, 5000);
        ASSERT_GT(count, 0U);
        got.append(bytes.data(), count);
    }
    EXPECT_EQ(got, "answer");
    const std::int64_t before = connection->milliseconds();
    EXPECT_EQ(connection->read(bytes, 20), 0U) << "nothing comes";
    EXPECT_GE(connection->milliseconds(), before + 20);
}

TEST(NetworkService, HasNoConnectionWhereNobodyListens) {
    Listener listener;
    const int port = listener.port();
    listener.close();
    EXPECT_FALSE(current().network().connect("127.0.0.1", port));
    EXPECT_FALSE(current().network().resolves("256.256.256.256.256"));
    EXPECT_TRUE(current().network().resolves("127.0.0.1"));
}

} // namespace
} // namespace sentrel::platform
