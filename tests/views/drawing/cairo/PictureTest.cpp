// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/drawing/Picture.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace sentrel {

namespace {

TEST(CairoPicture, RendersAViewAsSVG) {
    const TemporaryFolder folder;
    GaugeCircleChart chart({0, 0, 96, 64});
    ASSERT_TRUE(renderSVG(chart, folder.path("ring.svg")));
    std::ifstream stream(folder.path("ring.svg"), std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_NE(content.find("width=\"96pt\""), std::string::npos);
}

} // namespace

} // namespace sentrel
