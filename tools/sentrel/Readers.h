// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the tables of figures are made with: for each figure what is known of it and how it is read.

#include "tools/sentrel/Figures.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace tool {

/// A figure and how it is read from its source.
template <class Source>
struct Reader {
    FigureInfo info;
    std::function<std::optional<Value>(const Source&)> read;
};

template <class Source>
using Readers = std::vector<Reader<Source>>;

/// A share of 0 to 1.
inline Value ratio(double percent) {
    return percent / 100.0;
}

/// A whole number.
template <class Integer>
Value whole(Integer value) {
    return static_cast<std::int64_t>(value);
}

/// A text, absent if it is empty.
inline std::optional<Value> text(std::string value) {
    return value.empty() ? std::nullopt : std::optional<Value>(std::move(value));
}

/// As it is written to a stream.
template <class T>
Value written(const T& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

/// The figures that the source has.
template <class Source>
Item readItem(const Readers<Source>& readers, const Source& source, Texts texts = Texts::read) {
    Item item;
    item.figures.reserve(readers.size());
    for (const Reader<Source>& reader : readers) {
        if (texts == Texts::leftOut && reader.info.kind == Kind::text)
            continue;
        if (std::optional<Value> value = reader.read(source))
            item.figures.push_back({&reader.info, std::move(*value)});
    }
    return item;
}

/// What tells an item from the others of its list.
using Labels = std::vector<std::pair<std::string_view, std::string>>;

/// The items of a list, an item's labels from its key and itself.
template <class Source, class List, class LabelsOf>
Table readList(std::string_view resource, std::string_view list, const Readers<Source>& readers, const List& sources,
               LabelsOf&& labelsOf, Texts texts = Texts::read) {
    Table table{resource, list};
    for (const auto& source : sources) {
        auto [labels, object] = labelsOf(source);
        Item item = readItem(readers, *object, texts);
        item.labels = std::move(labels);
        table.items.push_back(std::move(item));
    }
    return table;
}

/// The figures of a resource itself.
template <class Source>
Table own(std::string_view resource, const Readers<Source>& readers, const Source& source, Texts texts = Texts::read) {
    return {resource, "", {readItem(readers, source, texts)}};
}

/// What a table of these may hold.
template <class Source>
TableInfo infoOf(std::string_view resource, std::string_view list, std::vector<std::string_view> labels,
                 const Readers<Source>& readers) {
    TableInfo info{resource, list, std::move(labels)};
    for (const Reader<Source>& reader : readers)
        info.figures.push_back(&reader.info);
    return info;
}

} // namespace tool
