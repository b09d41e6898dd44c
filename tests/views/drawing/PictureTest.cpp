// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/drawing/Picture.h>

#include "tests/support/TemporaryFolder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

namespace sentrel {

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(Picture, RendersAViewAsPNGAtBothResolutions) {
    const TemporaryFolder folder;
    GaugeCircleChart chart({0, 0, 96, 64});
    chart.setPercent(42.0);
    for (const int scale : {1, 2}) {
        ASSERT_TRUE(renderPNG(chart, folder.path("ring.png"), scale));
        cairo_surface_t* image = cairo_image_surface_create_from_png(folder.path("ring.png").c_str());
        EXPECT_EQ(cairo_image_surface_get_width(image), 96 * scale);
        EXPECT_EQ(cairo_image_surface_get_height(image), 64 * scale);
        cairo_surface_destroy(image);
    }
    EXPECT_FALSE(chart.needsDisplay());
}

TEST(Picture, RendersAViewAsSVGAndPDF) {
    const TemporaryFolder folder;
    GaugeCircleChart chart({0, 0, 96, 64});
    ASSERT_TRUE(renderSVG(chart, folder.path("ring.svg")));
    EXPECT_NE(contentOf(folder.path("ring.svg")).find("width=\"96pt\""), std::string::npos);
    ASSERT_TRUE(renderPDF(chart, folder.path("ring.pdf")));
    EXPECT_EQ(contentOf(folder.path("ring.pdf")).substr(0, 5), "%PDF-");
}

TEST(Picture, RefusesAViewWithoutAnAreaOrLargerThanAPicture) {
    const TemporaryFolder folder;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double side : {0.0, -5.0, 1.0e9, nan, HUGE_VAL}) {
        CircleChart chart({0, 0, side, 96});
        EXPECT_FALSE(renderPNG(chart, folder.path("none.png"))) << side;
        EXPECT_FALSE(renderSVG(chart, folder.path("none.svg"))) << side;
        EXPECT_FALSE(renderPDF(chart, folder.path("none.pdf"))) << side;
    }
    CircleChart chart({0, 0, 96, 96});
    for (const double scale : {0.0, -1.0, nan, 1.0e9})
        EXPECT_FALSE(renderPNG(chart, folder.path("none.png"), scale)) << scale;
}

TEST(Picture, SaysSoWhenTheFileCannotBeWritten) {
    const TemporaryFolder folder;
    CircleChart chart({0, 0, 96, 96});
    EXPECT_FALSE(renderPNG(chart, folder.path("missing/ring.png")));
    EXPECT_FALSE(renderSVG(chart, folder.path("missing/ring.svg")));
    EXPECT_FALSE(renderPDF(chart, folder.path("missing/ring.pdf")));
}

} // namespace

} // namespace sentrel
