// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/ApplicationTable.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace tool {

namespace {

const FigureInfo cpu{"cpu_ratio", Kind::gauge, "Share of the processors that it can use, of all processes together."};
const FigureInfo memory{"resident_bytes", Kind::gauge, "Memory that all its processes occupy."};

struct Use {
    std::string name;
    double cpu = 0.0; // percent
    std::uint64_t memory = 0;
};

std::vector<Use> byName(const sentrel::Applications& apps) {
    std::map<std::string, Use> uses;
    for (const auto& process : apps.all()) {
        Use& use = uses[process->name()];
        use.cpu += process->cpu();
        use.memory += process->mem();
    }
    std::vector<Use> list;
    for (auto& [name, use] : uses) {
        use.name = name;
        list.push_back(std::move(use));
    }
    return list;
}

} // namespace

TableInfo ApplicationTable::info() {
    return {"apps", "applications", {"application"}, {&cpu, &memory}};
}

Table ApplicationTable::read(const sentrel::Applications& apps) {
    std::vector<Use> uses = byName(apps);
    std::set<std::string> wanted;
    const auto want = [&](auto figure) {
        std::ranges::stable_sort(uses, std::greater<>(), figure);
        for (std::size_t i = 0; i < std::min(limits_.top, uses.size()); ++i)
            wanted.insert(uses[i].name);
    };
    want(&Use::cpu);
    want(&Use::memory);
    std::map<std::string, Use> told;
    for (const Use& use : uses) {
        if (!wanted.contains(use.name))
            continue;
        const bool isKnown = names_.contains(use.name) || names_.size() < limits_.names;
        if (isKnown)
            names_.insert(use.name);
        Use& sum = told[isKnown ? use.name : "other"];
        sum.cpu += use.cpu;
        sum.memory += use.memory;
    }
    Table table{"apps", "applications"};
    for (const auto& [name, use] : told)
        table.items.push_back(
            {{{"application", name}}, {{&cpu, use.cpu / 100.0}, {&memory, static_cast<std::int64_t>(use.memory)}}});
    return table;
}

} // namespace tool
