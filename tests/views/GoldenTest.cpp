// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"
#include "tests/views/Specimens.h"
#include "tests/views/TextRendererSuppressions.h"

#include "tests/support/Fixtures.h"

#include "tests/support/TemporaryFolder.h"

#include <cairo.h>

#include <algorithm>
#include <cstdlib>

namespace sentrel {

namespace {

struct DestroySurface {
    void operator()(cairo_surface_t* surface) const noexcept { cairo_surface_destroy(surface); }
};
using Image = std::unique_ptr<cairo_surface_t, DestroySurface>;

Image imageOf(const std::string& path) {
    return Image(cairo_image_surface_create_from_png(path.c_str()));
}

// How many pixels differ by more than 24 of 255 in a channel. Text edges move that little between versions of the font
// renderer; a figure that is off by half a point differs by far more.
int pixelsOff(cairo_surface_t* one, cairo_surface_t* other) {
    int off = 0;
    for (int y = 0; y < cairo_image_surface_get_height(one); ++y) {
        const unsigned char* a = cairo_image_surface_get_data(one) + y * cairo_image_surface_get_stride(one);
        const unsigned char* b = cairo_image_surface_get_data(other) + y * cairo_image_surface_get_stride(other);
        for (int x = 0; x < cairo_image_surface_get_width(one); ++x, a += 4, b += 4)
            off += std::abs(a[0] - b[0]) > 24 || std::abs(a[1] - b[1]) > 24 || std::abs(a[2] - b[2]) > 24;
    }
    return off;
}

class Golden : public LineDefaults {};

// The pictures were looked at before they were committed; views_specimens makes them anew.
TEST_F(Golden, EveryComponentLooksAsItDid) {
    const TemporaryFolder folder;
    Specimens specimens;
    for (Specimen& specimen : specimens.all()) {
        for (const int scale : {1, 2}) {
            const std::string name = specimen.name + "@" + std::to_string(scale) + "x.png";
            SCOPED_TRACE(name);
            ASSERT_TRUE(render(specimen, folder.path(name), scale));
            const Image golden = imageOf(fixturePath("golden/") + name);
            const Image fresh = imageOf(folder.path(name));
            ASSERT_EQ(cairo_surface_status(golden.get()), CAIRO_STATUS_SUCCESS);
            ASSERT_EQ(cairo_image_surface_get_width(fresh.get()), cairo_image_surface_get_width(golden.get()));
            ASSERT_EQ(cairo_image_surface_get_height(fresh.get()), cairo_image_surface_get_height(golden.get()));
            const int pixels = cairo_image_surface_get_width(fresh.get()) * cairo_image_surface_get_height(fresh.get());
            EXPECT_LE(pixelsOff(fresh.get(), golden.get()), pixels / 2000);
        }
    }
}

} // namespace

} // namespace sentrel
