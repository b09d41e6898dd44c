// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Columns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace dashboard {
namespace {

using sentrel::Rect;

constexpr double gap = 10;

std::vector<Rect> placed(const std::vector<ColumnItem>& items, double width, double height = 0) {
    return inColumns(items, width, height, gap);
}

std::size_t columnsIn(const std::vector<Rect>& frames) {
    std::set<double> lefts;
    for (const Rect& frame : frames)
        lefts.insert(frame.x);
    return lefts.size();
}

TEST(Columns, AreAsManyAsReadWellInTheWidth) {
    const std::vector<ColumnItem> items(8, {300, 1});
    EXPECT_EQ(columnsIn(placed(items, 336)), 1U);
    EXPECT_EQ(columnsIn(placed(items, 760)), 2U);
    EXPECT_EQ(columnsIn(placed(items, 1240)), 3U);
    EXPECT_EQ(columnsIn(placed(items, 1880)), 4U);
    EXPECT_EQ(columnsIn(placed({{300, 1}, {300, 1}}, 1880)), 2U); // not more than things
    EXPECT_TRUE(placed({}, 1000).empty());
}

TEST(Columns, AreFewerWhereTheHeightHasRoom) {
    const std::vector<ColumnItem> items(8, {300, 1});
    EXPECT_EQ(columnsIn(placed(items, 1880, 920)), 3U);
    EXPECT_EQ(columnsIn(placed(items, 1880, 900)), 4U);
    EXPECT_EQ(columnsIn(placed(items, 1880, 5000)), 3U); // but none is too wide to read
}

TEST(Columns, EndAtOneHeightAndOverlapNowhere) {
    const std::vector<ColumnItem> items = {{431, 3}, {317.5, 1}, {358, 2}, {120, 0}, {255, 0}, {160, 0}, {80, 0}};
    for (const double width : {200.0, 336.0, 501.0, 760.0, 1003.0, 1240.0, 1880.0, 3800.0})
        for (const double height : {0.0, 600.0, 1000.0, 3000.0}) {
            const auto frames = placed(items, width, height);
            double bottom = 0;
            for (const Rect& frame : frames)
                bottom = std::max(bottom, frame.y + frame.height);
            std::set<double> lefts;
            std::set<double> ended;
            for (std::size_t i = 0; i < frames.size(); ++i) {
                const Rect& one = frames[i];
                EXPECT_GE(one.height + 1, items[i].height);
                EXPECT_GE(one.x, 0);
                EXPECT_LE(one.x + one.width, width + 1);
                lefts.insert(one.x);
                if (one.y + one.height == bottom)
                    ended.insert(one.x);
                for (std::size_t j = 0; j < i; ++j) {
                    const Rect& other = frames[j];
                    const bool isApart =
                        one.x + one.width + gap - 1 <= other.x || other.x + other.width + gap - 1 <= one.x ||
                        one.y + one.height + gap - 1 <= other.y || other.y + other.height + gap - 1 <= one.y;
                    EXPECT_TRUE(isApart) << i << " and " << j << " at " << width;
                }
            }
            EXPECT_EQ(ended, lefts) << "of a width of " << width << " and a height of " << height;
        }
}

TEST(Columns, RoomThatIsLeftGoesToThingsByTheirShares) {
    const auto frames = placed({{100, 3}, {100, 1}}, 336, 300);
    EXPECT_EQ(frames[0], (Rect{0, 0, 336, 168}));
    EXPECT_EQ(frames[1], (Rect{0, 178, 336, 122}));
}

} // namespace
} // namespace dashboard
