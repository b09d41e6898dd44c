// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/detail/EasedValue.h>

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/layers/Layer.h>

#include <cmath>
#include <utility>

namespace sentrel {

namespace {
constexpr const char* keyPath = "value";
}

void easeFrom(View& view, double value) {
    if (!view.layer())
        return;
    if (!std::isfinite(value)) {
        view.layer()->removeAnimation(keyPath);
        return;
    }
    BasicAnimation run;
    run.keyPath = keyPath;
    run.fromValue = value; // to the view's own
    run.duration = 0.4;
    run.timingFunction = TimingFunction::easeOut();
    view.layer()->addAnimation(std::move(run), keyPath);
}

double easedValue(const View& view, double own) noexcept {
    const Layer* layer = view.layer().get();
    return layer && std::isfinite(own) ? layer->numberAt(keyPath, layer->displayTime(), own) : own;
}

double easedValueNow(const View& view, double own) noexcept {
    const Layer* layer = view.layer().get();
    return layer && std::isfinite(own) ? layer->numberAt(keyPath, mediaTime(), own) : own;
}

} // namespace sentrel
