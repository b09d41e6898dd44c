// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Table.h"

#include <SentrelKit/views/GaugeCircleChart.h>

namespace dashboard {

/// A ring gauge with its percentage inside, a title and a small table beside it.
class RingPanel final : public sentrel::View {
public:
    RingPanel(sentrel::Rect frame, const std::string& title);

    void show(double percent, const Rows& rows);

    [[nodiscard]] bool isFlipped() const override { return true; }

private:
    std::shared_ptr<sentrel::GaugeCircleChart> ring_;
    std::shared_ptr<sentrel::TextField> percent_;
    std::shared_ptr<Table> table_;
};

} // namespace dashboard
