// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/RowList.h"

namespace dashboard {

void RowList::show(const Rows& rows) {
    while (rows_.size() < rows.size())
        rows_.push_back(add(std::make_shared<InfoRow>()));
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        rows_[i]->setHidden(i >= rows.size());
        if (i < rows.size())
            rows_[i]->show(rows[i].first, rows[i].second);
    }
}

} // namespace dashboard
