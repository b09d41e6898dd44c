// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Recording.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double longest = 120; // seconds

double intervalOf(const System& system, const SystemResource& model) {
    for (const System::TaskInfo& task : system.tasks())
        if (task.resource == model.type())
            return task.interval;
    return 1;
}

} // namespace

Recording::Recording(System& system, const SystemResource& model, std::function<double()> figure)
    : interval_(intervalOf(system, model)), values_(static_cast<std::size_t>(std::ceil(longest / interval_))),
      feeding_(system.observeSamples(model, [this, figure = std::move(figure)] { values_.append(figure()); })) {}

std::vector<std::int64_t> Recording::points() const {
    std::vector<std::int64_t> points = values_.points();
    const auto valid = static_cast<std::size_t>(std::min<std::uint64_t>(values_.count() - forgotten_, points.size()));
    points.erase(points.begin(), points.end() - static_cast<std::ptrdiff_t>(valid));
    for (std::int64_t& point : points)
        point = std::max<std::int64_t>(point, 0); // a counter that went back
    return points;
}

std::string Recording::span() const {
    const std::uint64_t count = values_.count() - forgotten_;
    if (count < 2)
        return "just begun";
    if (count >= values_.length())
        return "last 2 min";
    return "last " + std::to_string(std::llround(static_cast<double>(count) * interval_)) + " s";
}

} // namespace dashboard
