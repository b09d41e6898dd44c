// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/appkit/SentrelView.h>
#include <SentrelKit/views/GaugeCircleChart.h>

#include <memory>

int main() {
    const auto ring = std::make_shared<sentrel::GaugeCircleChart>(sentrel::Rect{0, 0, 96, 96});
    SentrelView* view = [[SentrelView alloc] initWithView:ring];
    return view.view == ring ? 0 : 1;
}
