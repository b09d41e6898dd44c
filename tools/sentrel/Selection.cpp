// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Selection.h"

#include <algorithm>
#include <iterator>

namespace tool {

namespace {

template <class List>
bool contains(const List& list, std::string_view name) {
    return std::ranges::find(list, name) != list.end();
}

// Those that are sampled first.
std::vector<std::string_view> allResources() {
    std::vector<std::string_view> names(resources().begin(), resources().end());
    names.insert(names.end(), furtherResources().begin(), furtherResources().end());
    return names;
}

std::vector<std::string> allFields() {
    std::vector<std::string> fields;
    for (const TableInfo& table : allTableInfos())
        for (const FigureInfo* info : table.figures)
            fields.push_back(fieldName(table.resource, table.list, info->name));
    return fields;
}

// Gives what there is already its further figures.
void merge(std::vector<Table>& tables, Table further) {
    const auto table = std::ranges::find(tables, further.list, &Table::list);
    if (table == tables.end()) { // the resource's own figures before its lists
        tables.insert(further.list.empty() ? tables.begin() : tables.end(), std::move(further));
        return;
    }
    for (Item& item : further.items) {
        const auto same = std::ranges::find(table->items, item.labels, &Item::labels);
        if (same == table->items.end())
            table->items.push_back(std::move(item));
        else
            std::ranges::move(item.figures, std::back_inserter(same->figures));
    }
}

} // namespace

std::string fieldName(std::string_view resource, std::string_view list, std::string_view name) {
    std::string field(resource);
    if (!list.empty())
        field.append(".").append(list);
    return field.append(".").append(name);
}

std::optional<Selection> Selection::of(const std::vector<std::string>& resources,
                                       const std::vector<std::string>& fields, bool isAll, std::string& unknown) {
    std::vector<std::string> wanted = resources;
    const std::vector<std::string> known = allFields();
    for (const std::string& field : fields) {
        if (!contains(known, field)) {
            unknown = field;
            return std::nullopt;
        }
        wanted.push_back(field.substr(0, field.find('.')));
    }
    const std::vector<std::string_view> names = allResources();
    for (const std::string& resource : resources)
        if (!contains(names, resource)) {
            unknown = resource;
            return std::nullopt;
        }
    Selection selection;
    selection.fields_ = fields;
    selection.isAll_ = isAll;
    for (const std::string_view name : names)
        if (wanted.empty() ? isAll || contains(tool::resources(), name) : contains(wanted, name))
            selection.resources_.push_back(name);
    return selection;
}

bool Selection::isNamed(std::string_view resource, std::string_view list, std::string_view name) const {
    return contains(fields_, fieldName(resource, list, name));
}

bool Selection::has(const FurtherTable& table) const {
    if (!contains(resources_, table.info.resource))
        return false;
    if (fields_.empty())
        return isAll_ || contains(furtherResources(), table.info.resource);
    return std::ranges::any_of(table.info.figures, [&](const FigureInfo* info) {
        return isNamed(table.info.resource, table.info.list, info->name);
    });
}

void Selection::want(sentrel::System& system) const {
    for (const FurtherTable& table : furtherTables())
        if (has(table))
            table.want(system);
}

std::vector<Table> Selection::read(sentrel::System& system, std::string_view resource) const {
    std::vector<Table> tables = tool::read(system, resource);
    for (const FurtherTable& table : furtherTables())
        if (table.info.resource == resource && has(table))
            merge(tables, table.read(system));
    if (fields_.empty())
        return tables;
    for (Table& table : tables)
        for (Item& item : table.items)
            std::erase_if(item.figures, [&](const Figure& figure) {
                return !isNamed(table.resource, table.list, figure.info->name);
            });
    std::erase_if(tables, [](const Table& table) {
        return std::ranges::all_of(table.items, [](const Item& item) { return item.figures.empty(); });
    });
    return tables;
}

} // namespace tool
