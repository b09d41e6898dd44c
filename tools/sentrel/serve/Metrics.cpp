// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Metrics.h"

#include "tools/sentrel/serve/ApplicationTable.h"
#include "tools/sentrel/serve/Counters.h"
#include "tools/sentrel/serve/DeviceLimit.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

namespace tool {

namespace {

// The things whose names say enough without their resource.
constexpr std::pair<std::string_view, std::string_view> things[] = {
    {"volumes", "volume"}, {"interfaces", "interface"}, {"applications", "application"}, {"inputs", "sensor"}};

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

// Counters of what the others tell, rates and texts aside, stand in Counters.h.
bool isTold(const FurtherTable& table) {
    constexpr std::tuple<std::string_view, std::string_view, std::string_view> told[] = {
        {"cpu", "cores", "frequency_hertz"},    {"mem", "", "available_bytes"},
        {"mem", "", "compressor_stored_bytes"}, {"disk", "volumes", "inodes"},
        {"gpu", "processors", "name"},          {sensorsResource, "inputs", "temperature_celsius"}};
    const TableInfo& info = table.info;
    return std::ranges::find(told, std::tuple(info.resource, info.list, info.figures.front()->name)) != std::end(told);
}

// Empty for a figure that is not told.
std::string metricName(std::string_view resource, std::string_view list, const FigureInfo& figure) {
    if (figure.kind == Kind::text || isRate(figure.name))
        return {};
    // "_count" at the end is what engines call a part of a distribution.
    const std::string_view name = figure.name == "count" ? "tracked" : figure.name;
    return "sentrel_" + subject(resource, list) + '_' + std::string(name);
}

void add(std::vector<Metric>& metrics, const TableInfo& table) {
    for (const FigureInfo* const figure : table.figures)
        if (std::string name = metricName(table.resource, table.list, *figure); !name.empty())
            metrics.push_back({std::move(name), figure->kind, figure->help, table.labels, table.resource, figure});
}

// Applications are told in a form of their own: a process's number would be a new series for each that ever runs.
std::vector<TableInfo> tables() {
    std::vector<TableInfo> tables = tableInfos();
    std::erase_if(tables, [](const TableInfo& table) { return table.list == ApplicationTable::info().list; });
    for (const FurtherTable* const table : toldFurtherTables())
        tables.push_back(table->info);
    std::ranges::copy(counterInfos(), std::back_inserter(tables));
    std::ranges::copy(DeviceLimit::infos(), std::back_inserter(tables));
    tables.push_back(ApplicationTable::info());
    return tables;
}

std::vector<Metric> makeMetrics() {
    std::vector<Metric> metrics;
    std::vector<std::string_view> all(resources().begin(), resources().end());
    all.push_back(sensorsResource);
    for (const std::string_view resource : all) {
        const std::size_t before = metrics.size();
        for (const TableInfo& table : tables())
            if (table.resource == resource)
                add(metrics, table);
        if (metrics.size() > before)
            metrics.push_back({lastSampleName(resource), Kind::gauge, lastSampleHelp, {}, resource});
    }
    metrics.push_back({std::string(buildInfoName), Kind::gauge, buildInfoHelp, {"version"}, {}});
    return metrics;
}

} // namespace

const std::vector<Metric>& metrics() {
    static const std::vector<Metric> all = makeMetrics();
    return all;
}

const std::vector<const FurtherTable*>& toldFurtherTables() {
    static const std::vector<const FurtherTable*> told = [] {
        std::vector<const FurtherTable*> tables;
        for (const FurtherTable& table : furtherTables())
            if (isTold(table))
                tables.push_back(&table);
        return tables;
    }();
    return told;
}

const Metric* metricOf(const FigureInfo& figure) {
    static const std::map<const FigureInfo*, const Metric*> byFigure = [] {
        std::map<const FigureInfo*, const Metric*> map;
        for (const Metric& metric : metrics())
            if (metric.figure != nullptr)
                map.emplace(metric.figure, &metric);
        return map;
    }();
    const auto found = byFigure.find(&figure);
    return found == byFigure.end() ? nullptr : found->second;
}

std::string lastSampleName(std::string_view resource) {
    return "sentrel_" + std::string(resource) + "_last_sample_timestamp_seconds";
}

} // namespace tool
