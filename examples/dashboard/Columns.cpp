// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Columns.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace dashboard {

using namespace sentrel;

namespace {

// Widths of a column in points.
constexpr double narrowest = 330;
constexpr double usual = 430;
constexpr double widest = 720;

// How far a column may be longer than its things need.
constexpr double mostGrowth = 1.6;

struct Column {
    std::vector<std::size_t> items;
    double height = 0;
    double stretch = 0;
};

std::vector<Column> distributed(const std::vector<ColumnItem>& items, std::size_t count, double gap) {
    std::vector<Column> columns(count);
    for (std::size_t i = 0; i < items.size(); ++i) {
        Column& column = *std::min_element(columns.begin(), columns.end(), [](const auto& one, const auto& other) {
            return one.height < other.height;
        });
        column.height += items[i].height + (column.items.empty() ? 0 : gap);
        column.stretch += items[i].stretch;
        column.items.push_back(i);
    }
    return columns;
}

double heightOf(const std::vector<Column>& columns) {
    double height = 0;
    for (const Column& column : columns)
        height = std::max(height, column.height);
    return height;
}

std::size_t columnsOf(double width, double gap, double columnWidth) {
    return static_cast<std::size_t>(std::max(std::floor((width + gap) / (columnWidth + gap)), 1.0));
}

} // namespace

std::vector<Rect> inColumns(const std::vector<ColumnItem>& items, double width, double height, double gap) {
    std::vector<Rect> frames(items.size());
    if (items.empty())
        return frames;
    const auto wanted = static_cast<std::size_t>(std::max(std::round((width + gap) / (usual + gap)), 1.0));
    std::size_t count = std::min({wanted, columnsOf(width, gap, narrowest), items.size()});
    while (count > 1 && width / static_cast<double>(count - 1) <= widest &&
           heightOf(distributed(items, count - 1, gap)) <= height)
        --count;
    const std::vector<Column> columns = distributed(items, count, gap);
    const double needed = heightOf(columns);
    const double bottom = std::max(needed, std::min(height, needed * mostGrowth));
    const double columnWidth = (width - gap * static_cast<double>(count - 1)) / static_cast<double>(count);
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const Column& column = columns[c];
        const double left = std::round(static_cast<double>(c) * (columnWidth + gap));
        const double right = std::round(static_cast<double>(c) * (columnWidth + gap) + columnWidth);
        const double free = bottom - column.height;
        double top = 0;
        for (const std::size_t i : column.items) {
            const double share =
                column.stretch > 0 ? items[i].stretch / column.stretch : 1 / static_cast<double>(column.items.size());
            const double end = top + items[i].height + free * share;
            frames[i] = {left, std::round(top), right - left, std::round(end) - std::round(top)};
            top = end + gap;
        }
    }
    return frames;
}

} // namespace dashboard
