// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/drawing/Picture.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace sentrel {

namespace {

TEST(CoreGraphicsPicture, WritesNoSVG) {
    const TemporaryFolder folder;
    GaugeCircleChart chart({0, 0, 96, 64});
    EXPECT_FALSE(renderSVG(chart, folder.path("ring.svg")));
}

} // namespace

} // namespace sentrel
