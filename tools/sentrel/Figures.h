// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Every figure of the models under a name that says its unit, as the command shows it and as JSON and the exporter
/// name it: `usage_ratio` (0 to 1), `_bytes`, `_bytes_per_second`, `_seconds`, `_celsius`, `_hertz`, `_volts`,
/// `_amperes`,
/// `_watts`; a counter since boot ends in `_total`. A figure that a model does not have is absent.

#include <SentrelKit/system/System.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tool {

/// A figure, a flag or a text.
using Value = std::variant<bool, std::int64_t, double, std::string>;

/// How a figure moves.
enum class Kind : std::uint8_t {
    gauge,   ///< up and down
    counter, ///< only up, until the machine starts anew
    text,    ///< words, not for the exporter
};

/// What is known of a figure before it is read.
struct FigureInfo {
    std::string_view name; ///< in snake case, with its unit at the end
    Kind kind;             ///< how it moves
    std::string_view help; ///< a sentence
};

/// A figure that was read.
struct Figure {
    const FigureInfo* info; ///< which
    Value value;            ///< in the base unit that its name ends in
};

/// What figures belong to: the resource itself, or one thing of a list, told apart by its labels.
struct Item {
    std::vector<std::pair<std::string_view, std::string>> labels{}; ///< such as "mountpoint" and "/"
    std::vector<Figure> figures{};                                  ///< those that are not absent
};

/// The items of one kind that a resource has.
struct Table {
    std::string_view resource; ///< "cpu", "mem", "disk", ...
    std::string_view list;     ///< "volumes", "interfaces", ...; empty for the resource's own figures
    std::vector<Item> items{}; ///< one for the resource's own figures
};

/// What a table may hold, for help, completion and the schema.
struct TableInfo {
    std::string_view resource;                ///< as in Table
    std::string_view list;                    ///< as in Table
    std::vector<std::string_view> labels;     ///< of each item
    std::vector<const FigureInfo*> figures{}; ///< of each item, some of which may be absent
};

/// The resources in the order in which they are shown.
[[nodiscard]] std::span<const std::string_view> resources();

/// The tables of figures that are always sampled, with all of those.
[[nodiscard]] std::vector<TableInfo> tableInfos();

/// Whether figures that are texts are read along: some of them take a question to the machine.
enum class Texts : std::uint8_t { read, leftOut };

/// The figures of a resource as they stand now. Empty for a name that is none of a resource.
[[nodiscard]] std::vector<Table> read(sentrel::System& system, std::string_view resource, Texts texts = Texts::read);

/// The model behind the name of a resource, or null.
[[nodiscard]] sentrel::SystemResource* modelOf(sentrel::System& system, std::string_view resource);

} // namespace tool
