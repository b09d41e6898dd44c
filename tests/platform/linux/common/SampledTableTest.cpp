// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/SampledTable.h>

#include <cerrno>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

/// A table of the kernel, and how often it was read.
struct Table {
    std::optional<std::string_view> operator()(std::span<char> room) {
        ++readings;
        if (isMissing) {
            errno = ENOENT;
            return std::nullopt;
        }
        return std::string_view(room.data(), content.copy(room.data(), room.size()));
    }

    std::string content;
    bool isMissing = false;
    int readings = 0;
};

TEST(SampledTable, IsReadOnceInASampleAndEachTimeOutsideOfOne) {
    Table table{.content = "one\n"};
    SampledTable sampled(64);
    EXPECT_EQ(sampled.text(std::ref(table)), "one\n");
    table.content = "two\n";
    EXPECT_EQ(sampled.text(std::ref(table)), "two\n");
    for (const std::string content : {"three\n", "four\n"}) {
        const SampleScope sample;
        table.content = content;
        EXPECT_EQ(sampled.text(std::ref(table)), content) << "nothing is left of what was read before";
        table.content = "later\n";
        EXPECT_EQ(sampled.text(std::ref(table)), content);
    }
    EXPECT_EQ(table.readings, 4);
}

TEST(SampledTable, ThatCannotBeReadIsReadAgainInTheSameSample) {
    Table table{.content = "one\n", .isMissing = true};
    SampledTable sampled(64);
    const SampleScope sample;
    errno = 0;
    EXPECT_EQ(sampled.text(std::ref(table)), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    table.isMissing = false;
    EXPECT_EQ(sampled.text(std::ref(table)), "one\n");
}

TEST(SampledTable, GrowsUpToTheMostAndKeepsWholeLinesBeyondIt) {
    Table table{.content = "a line\nand another\n"};
    SampledTable growing(4, 64);
    EXPECT_EQ(growing.text(std::ref(table)), "a line\nand another\n");
    const int readings = table.readings;
    EXPECT_EQ(growing.text(std::ref(table)), "a line\nand another\n");
    EXPECT_EQ(table.readings, readings + 1) << "the room is kept";
    SampledTable fixed(12);
    EXPECT_EQ(fixed.text(std::ref(table)), "a line\n");
}

} // namespace
} // namespace sentrel::platform
