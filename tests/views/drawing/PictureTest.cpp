// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/Square.h>
#include <SentrelKit/views/drawing/Picture.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/views/support/Image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <vector>

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
        const Image image(folder.path("ring.png"));
        EXPECT_EQ(image.width(), 96 * scale);
        EXPECT_EQ(image.height(), 64 * scale);
    }
    EXPECT_FALSE(chart.needsDisplay());
}

TEST(Picture, RendersAViewAsPDF) {
    const TemporaryFolder folder;
    GaugeCircleChart chart({0, 0, 96, 64});
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

// Pixels of a host, and what became of them.
struct Pixels {
    Pixels(int w, int h, std::uint32_t ground) : width(w), height(h), data(static_cast<std::size_t>(w * h), ground) {}

    [[nodiscard]] std::uint32_t at(int x, int y) const { return data[static_cast<std::size_t>(y * width + x)]; }
    // The largest difference of any component. The drawing system rounds the coverage of a pixel on an edge differently
    // when it is clipped.
    [[nodiscard]] int difference(const Pixels& other) const {
        int largest = 0;
        for (std::size_t i = 0; i < data.size(); ++i)
            for (int shift = 0; shift < 32; shift += 8)
                largest = std::max(largest, std::abs(static_cast<int>(data[i] >> shift & 0xFF) -
                                                     static_cast<int>(other.data[i] >> shift & 0xFF)));
        return largest;
    }

    int width;
    int height;
    std::vector<std::uint32_t> data;
};

TEST(Picture, DrawsAViewOnPixelsOfItsHost) {
    View root({0, 0, 8, 8});
    const auto half = std::make_shared<Square>(Rect{0, 4, 4, 4}); // upper left
    half->setColor({1.0, 0.0, 0.0, 0.5});
    root.addSubview(half);
    Pixels pixels(20, 16, 0x12345678);
    ASSERT_TRUE(renderPixels(root, pixels.data.data(), 18, 16, 80, 2.0));
    EXPECT_EQ(pixels.at(2, 2) >> 24, 0x80U);
    EXPECT_EQ(pixels.at(2, 2) & 0xFFFFFFU, 0x800000U); // premultiplied
    EXPECT_EQ(pixels.at(12, 12), 0U);
    EXPECT_EQ(pixels.at(17, 2), 0U); // beside the view
    EXPECT_EQ(pixels.at(18, 2), 0x12345678U);
    EXPECT_FALSE(root.needsDisplay());
}

TEST(Picture, DrawsOnlyThePixelsThatSomeRectanglesTouchWithoutASeam) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        View root({0, 0, 60, 60});
        const auto ring = std::make_shared<GaugeCircleChart>(Rect{3, 5, 31, 33});
        const auto bar = std::make_shared<GaugeBar>(Rect{7, 41, 50, 7});
        root.addSubview(ring);
        root.addSubview(bar);
        ring->setPercent(20.0);
        const int side = static_cast<int>(std::ceil(60 * scale));
        Pixels parts(side, side, 0xDEADBEEF);
        Pixels whole(side, side, 0);
        ASSERT_TRUE(renderPixels(root, parts.data.data(), side, side, 4 * side, scale, 0.0));
        ring->setPercent(95.0);
        const auto areas = root.dirtyRects();
        ASSERT_EQ(areas.size(), 1U);
        parts.data[0] = 5;
        ASSERT_TRUE(renderPixels(root, parts.data.data(), side, side, 4 * side, scale, areas, 0.0));
        EXPECT_EQ(parts.at(0, 0), 5U);
        parts.data[0] = 0;
        ASSERT_TRUE(renderPixels(root, whole.data.data(), side, side, 4 * side, scale, 0.0));
        EXPECT_LE(parts.difference(whole), 16) << scale;
        ASSERT_TRUE(renderPixels(root, parts.data.data(), side, side, 4 * side, scale,
                                 {{-1e12, -5, 6, 6}, {59, 59, HUGE_VAL, 1e300}, {500, 0, 5, 5}, {0, 0, 0, 0}}, 0.0));
        EXPECT_LE(parts.difference(whole), 16) << scale;
    }
}

TEST(Picture, RefusesPixelsThatItCannotDrawOn) {
    CircleChart chart({0, 0, 8, 8});
    std::vector<std::uint32_t> data(64, 7);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(renderPixels(chart, nullptr, 8, 8, 32));
    EXPECT_FALSE(renderPixels(chart, data.data(), 0, 8, 32));
    EXPECT_FALSE(renderPixels(chart, data.data(), 8, -1, 32));
    EXPECT_FALSE(renderPixels(chart, data.data(), 8, 40000, 32));
    EXPECT_FALSE(renderPixels(chart, data.data(), 8, 8, 31));
    EXPECT_FALSE(renderPixels(chart, data.data(), 8, 8, 34));
    EXPECT_FALSE(renderPixels(chart, data.data(), 8, 8, -32));
    for (const double scale : {0.0, -1.0, nan, HUGE_VAL})
        EXPECT_FALSE(renderPixels(chart, data.data(), 8, 8, 32, scale)) << scale;
    EXPECT_EQ(data, std::vector<std::uint32_t>(64, 7));
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
