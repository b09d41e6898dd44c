// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the exporter tells: a metric for each figure that is a number. Its name is "sentrel_", then the resource or,
/// for what a resource has several of, the thing, then the figure: sentrel_cpu_usage_ratio,
/// sentrel_volume_free_bytes{device, mountpoint}. Figures that are rates are left out, since engines make those of the
/// counters that are told beside them.

#include "tools/sentrel/Figures.h"
#include "tools/sentrel/FurtherFigures.h"

#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// What is known of a metric before it is told.
struct Metric {
    std::string name;                     ///< such as "sentrel_volume_free_bytes"
    Kind kind;                            ///< gauge or counter
    std::string_view help;                ///< a sentence
    std::vector<std::string_view> labels; ///< of each series
    std::string_view resource;            ///< where it comes from, as in TableInfo
    const FigureInfo* figure = nullptr;   ///< the figure that it is; null for what the exporter tells of itself
};

/// Every metric, by its resource, those that the exporter tells of itself last. Names are unique.
[[nodiscard]] const std::vector<Metric>& metrics();

/// The metric that a figure is; null for one that is not told.
[[nodiscard]] const Metric* metricOf(const FigureInfo& figure);

/// Those of the figures that are sampled on request which are told beside the others: what a sample of the models has,
/// and no question of its own to a drive or a process.
[[nodiscard]] const std::vector<const FurtherTable*>& toldFurtherTables();

/// The name of the metric that says when a resource was sampled last, in seconds since the epoch.
[[nodiscard]] std::string lastSampleName(std::string_view resource);

constexpr std::string_view sensorsResource = "sensors"; ///< which are no SystemResource

constexpr std::string_view lastSampleHelp = "When it was sampled last, since the epoch."; ///< of each of those

constexpr std::string_view buildInfoName = "sentrel_build_info";                  ///< with the version as its label
constexpr std::string_view buildInfoHelp = "1, with the version of the program."; ///< of that

} // namespace tool
