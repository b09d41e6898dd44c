// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/InfoRow.h"

#include <SentrelKit/views/Stack.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace dashboard {

/// Names on the left, their values on the right.
using Rows = std::vector<std::pair<std::string, std::string>>;

/// As many rows as there are at the time.
class RowList final : public sentrel::Stack {
public:
    RowList() : Stack(Axis::column) {}

    void show(const Rows& rows);

private:
    std::vector<std::shared_ptr<InfoRow>> rows_;
};

} // namespace dashboard
