// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Selection.h"

#include <algorithm>

namespace tool {

std::string fieldName(std::string_view resource, std::string_view list, std::string_view name) {
    std::string field(resource);
    if (!list.empty())
        field.append(".").append(list);
    return field.append(".").append(name);
}

std::optional<Selection> Selection::of(const std::vector<std::string>& resources,
                                       const std::vector<std::string>& fields, std::string& unknown) {
    std::vector<std::string> wanted = resources;
    for (const std::string& field : fields) {
        bool isKnown = false;
        for (const TableInfo& table : tableInfos())
            for (const FigureInfo* info : table.figures)
                isKnown = isKnown || field == fieldName(table.resource, table.list, info->name);
        if (!isKnown) {
            unknown = field;
            return std::nullopt;
        }
        wanted.push_back(field.substr(0, field.find('.')));
    }
    for (const std::string& resource : resources)
        if (std::ranges::find(tool::resources(), resource) == tool::resources().end()) {
            unknown = resource;
            return std::nullopt;
        }
    Selection selection;
    selection.fields_ = fields;
    for (const std::string_view resource : tool::resources())
        if (wanted.empty() || std::ranges::find(wanted, resource) != wanted.end())
            selection.resources_.push_back(resource);
    return selection;
}

bool Selection::has(const Table& table, const FigureInfo& info) const {
    if (fields_.empty())
        return true;
    return std::ranges::find(fields_, fieldName(table.resource, table.list, info.name)) != fields_.end();
}

std::vector<Table> Selection::read(sentrel::System& system, std::string_view resource) const {
    std::vector<Table> tables = tool::read(system, resource);
    for (Table& table : tables)
        for (Item& item : table.items)
            std::erase_if(item.figures, [&](const Figure& figure) { return !has(table, *figure.info); });
    if (!fields_.empty())
        std::erase_if(tables, [](const Table& table) {
            return std::ranges::all_of(table.items, [](const Item& item) { return item.figures.empty(); });
        });
    return tables;
}

} // namespace tool
