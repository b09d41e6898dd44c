// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>

#include <gtest/gtest.h>

#include <vector>

namespace sentrel {

/// What a view's own figure makes of its bounds.
inline RecordingCanvas drawn(View& view) {
    RecordingCanvas canvas;
    view.drawRect(canvas, view.bounds());
    return canvas;
}

inline std::vector<RecordingCanvas::Fill> fillsOf(View& view) {
    return drawn(view).all<RecordingCanvas::Fill>();
}

inline std::vector<RecordingCanvas::Stroke> strokesOf(View& view) {
    return drawn(view).all<RecordingCanvas::Stroke>();
}

/// Tests of figures whose paths start with the process's line defaults, which drawing lines and bars changes.
class LineDefaults : public testing::Test {
protected:
    LineDefaults() { reset(); }
    ~LineDefaults() override { reset(); }

    static void reset() {
        Path::setDefaultLineCapStyle(LineCap::butt);
        Path::setDefaultLineWidth(1.0);
    }
};

} // namespace sentrel
