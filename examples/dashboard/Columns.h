// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Geometry.h>

#include <vector>

namespace dashboard {

/// One of several things to be laid out in columns.
struct ColumnItem {
    double height = 0;  ///< the least, points
    double stretch = 0; ///< its share of room that its column has left over
};

/// The frames of things in columns of equal width that end at one height, each thing in the column that is shortest so
/// far. There are as many columns as read well in the width; fewer where the height has room for them. In a height that
/// is too low, or 0, the frames take what they need. Edges lie on whole points.
std::vector<sentrel::Rect> inColumns(const std::vector<ColumnItem>& items, double width, double height, double gap);

} // namespace dashboard
