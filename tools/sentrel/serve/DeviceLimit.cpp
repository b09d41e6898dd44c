// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/DeviceLimit.h"

#include <algorithm>
#include <cstdint>

namespace tool {

namespace {

// One for each resource: a metric is found by its figure.
struct Bounded {
    std::string_view resource;
    FigureInfo leftOut;
};

const Bounded bounded[] = {
    {"disk", {"devices_left_out", Kind::gauge, "Volumes and disks that are not told, beyond the limit of one kind."}},
    {"net", {"devices_left_out", Kind::gauge, "Interfaces that are not told, beyond the limit."}},
    {"sensors", {"devices_left_out", Kind::gauge, "Sensors that are not told, beyond the limit."}}};

const Bounded* find(std::string_view resource) {
    const auto found = std::ranges::find(bounded, resource, &Bounded::resource);
    return found == std::end(bounded) ? nullptr : found;
}

// What may be told next. Volumes come in the order of their mount points, which begins with the root's.
struct Candidate {
    std::string name;
    std::string mountPoint; // empty for what is no volume
};

std::string mountPointOf(const Item& item) {
    const auto label = std::ranges::find(item.labels, "mountpoint", &std::pair<std::string_view, std::string>::first);
    return label == item.labels.end() ? "" : label->second;
}

} // namespace

std::vector<TableInfo> DeviceLimit::infos() {
    std::vector<TableInfo> infos;
    for (const Bounded& each : bounded)
        infos.push_back({each.resource, "", {}, {&each.leftOut}});
    return infos;
}

void DeviceLimit::apply(std::string_view resource, std::vector<Table>& tables) {
    const Bounded* const known = find(resource);
    if (!known)
        return;
    leftOut_ = 0;
    std::map<Kind, std::size_t> items;
    for (const Table& table : tables)
        for (const Item& item : table.items)
            if (!item.labels.empty())
                ++items[{table.list, item.labels.front().first}];
    for (const auto& [kind, count] : items) {
        if (count > most_)
            apply(kind, tables);
        else
            told_.erase(kind);
    }
    tables.push_back({resource, "", {{{}, {{&known->leftOut, static_cast<std::int64_t>(leftOut_)}}}}});
}

void DeviceLimit::apply(const Kind& kind, std::vector<Table>& tables) {
    const auto isOfKind = [&kind](const Table& table, const Item& item) {
        return table.list == kind.first && !item.labels.empty() && item.labels.front().first == kind.second;
    };
    Names there;
    std::vector<Candidate> candidates;
    for (auto table = tables.rbegin(); table != tables.rend(); ++table) // the counters' first, in the kernel's order
        for (const Item& item : table->items)
            if (isOfKind(*table, item))
                if (const auto [name, isNew] = there.insert(item.labels.front().second); isNew)
                    candidates.push_back({*name, mountPointOf(item)});
    std::ranges::stable_sort(candidates, {}, &Candidate::mountPoint);
    Names& told = told_[kind];
    std::erase_if(told, [&there](const std::string& name) { return !there.contains(name); });
    for (const Candidate& candidate : candidates)
        if (told.size() < most_)
            told.emplace(candidate.name);
    leftOut_ += there.size() - told.size();
    for (Table& table : tables)
        std::erase_if(table.items, [&](const Item& item) {
            return isOfKind(table, item) && !told.contains(item.labels.front().second);
        });
}

} // namespace tool
