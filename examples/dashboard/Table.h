// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/View.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace dashboard {

/// Names on the left, their values on the right.
using Rows = std::vector<std::pair<std::string, std::string>>;

/// A table with as many rows as fit into its frame.
class Table final : public sentrel::View {
public:
    static constexpr double rowHeight = 25;

    explicit Table(sentrel::Rect frame);

    /// Shows the rows; those that do not fit are left out.
    void show(const Rows& rows);

    [[nodiscard]] bool isFlipped() const override { return true; }

private:
    struct Row {
        std::shared_ptr<sentrel::TextField> name;
        std::shared_ptr<sentrel::TextField> value;
    };
    std::vector<Row> rows_;
};

/// A table under a title.
class TablePanel final : public sentrel::View {
public:
    TablePanel(sentrel::Rect frame, const std::string& title);

    void show(const Rows& rows) { table_->show(rows); }

    [[nodiscard]] bool isFlipped() const override { return true; }

private:
    std::shared_ptr<Table> table_;
};

/// The height of a panel's title.
constexpr double titleHeight = 30;

} // namespace dashboard
