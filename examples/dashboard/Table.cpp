// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Table.h"

#include "examples/dashboard/Labels.h"

namespace dashboard {

using namespace sentrel;

Table::Table(Rect frame) : View(frame) {
    for (double y = 0; y + rowHeight <= frame.height; y += rowHeight) {
        const Rect row = {0, y, frame.width, rowHeight};
        rows_.push_back({addLabel(*this, row, LabelStyle::name),
                         addLabel(*this, row, LabelStyle::value, {}, TextAlignment::right)});
    }
}

void Table::show(const Rows& rows) {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const Rows::value_type row = i < rows.size() ? rows[i] : Rows::value_type();
        showEndToEnd(*rows_[i].name, row.first, *rows_[i].value, row.second);
    }
}

TablePanel::TablePanel(Rect frame, const std::string& title)
    : View(frame), table_(std::make_shared<Table>(Rect{0, titleHeight, frame.width, frame.height - titleHeight})) {
    addLabel(*this, {0, 0, frame.width, titleHeight}, LabelStyle::title, title);
    addSubview(table_);
}

} // namespace dashboard
