#pragma once

#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/View.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace dashboard {

/// A ring gauge with its percentage inside, a title and a small table beside it.
class RingPanel final : public sentrel::View {
public:
    using Row = std::pair<std::string, std::string>;

    RingPanel(sentrel::Rect frame, const std::string& title);

    /// Sets the ring and the table; rows that do not fit are left out.
    void show(double percent, const std::vector<Row>& rows);

    [[nodiscard]] bool isFlipped() const override { return true; }

private:
    std::shared_ptr<sentrel::GaugeCircleChart> ring_;
    std::shared_ptr<sentrel::TextField> percent_;
    std::vector<std::pair<std::shared_ptr<sentrel::TextField>, std::shared_ptr<sentrel::TextField>>> rows_;
};

} // namespace dashboard
