// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Metrics.h"

#include "tools/sentrel/serve/Counters.h"

#include <utility>

namespace tool {

namespace {

// The things whose names say enough without their resource.
constexpr std::pair<std::string_view, std::string_view> things[] = {
    {"volumes", "volume"}, {"interfaces", "interface"}, {"applications", "application"}};

std::string subject(std::string_view resource, std::string_view list) {
    if (list.empty())
        return std::string(resource);
    for (const auto& [many, one] : things)
        if (list == many)
            return std::string(one);
    if (list.ends_with('s'))
        list.remove_suffix(1);
    return std::string(resource).append("_").append(list);
}

bool isRate(std::string_view name) {
    return name.ends_with("_per_second") && !name.ends_with("_bits_per_second");
}

// A process's number would be a new series for each process that ever runs.
std::vector<std::string_view> labelsOf(const TableInfo& table) {
    return table.list == "applications" ? std::vector<std::string_view>{"application"} : table.labels;
}

void add(std::vector<Metric>& metrics, const TableInfo& table) {
    for (const FigureInfo* const figure : table.figures)
        if (std::string name = metricName(table.resource, table.list, *figure); !name.empty())
            metrics.push_back({std::move(name), figure->kind, figure->help, labelsOf(table), table.resource});
}

std::vector<Metric> makeMetrics() {
    std::vector<Metric> metrics;
    for (const std::string_view resource : resources()) {
        for (const TableInfo& table : tableInfos())
            if (table.resource == resource)
                add(metrics, table);
        for (const TableInfo& table : counterInfos())
            if (table.resource == resource)
                add(metrics, table);
        metrics.push_back(
            {lastSampleName(resource), Kind::gauge, "When it was sampled last, since the epoch.", {}, resource});
    }
    metrics.push_back({std::string(buildInfoName), Kind::gauge, "1, with the version.", {"version"}, {}});
    return metrics;
}

} // namespace

const std::vector<Metric>& metrics() {
    static const std::vector<Metric> all = makeMetrics();
    return all;
}

std::string metricName(std::string_view resource, std::string_view list, const FigureInfo& figure) {
    if (figure.kind == Kind::text || isRate(figure.name))
        return {};
    // "_count" at the end is what engines call a part of a distribution.
    const std::string_view name = figure.name == "count" ? "tracked" : figure.name;
    return "sentrel_" + subject(resource, list) + '_' + std::string(name);
}

std::string lastSampleName(std::string_view resource) {
    return "sentrel_" + std::string(resource) + "_last_sample_timestamp_seconds";
}

} // namespace tool
