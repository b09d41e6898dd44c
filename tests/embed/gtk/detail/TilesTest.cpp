// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/gtk/detail/Tiles.h>

#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/drawing/Picture.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <set>

namespace sentrel {
namespace {

// What a snapshot of the tiles becomes.
class Node {
public:
    explicit Node(const Tiles& tiles) {
        const auto snapshot = Gtk::Snapshot::create();
        tiles.append(*snapshot.get());
        node_ = gtk_snapshot_to_node(snapshot->gobj());
    }
    ~Node() { gsk_render_node_unref(node_); }
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    [[nodiscard]] std::set<GdkTexture*> textures() const {
        std::set<GdkTexture*> found;
        for (guint i = 0; i < gsk_container_node_get_n_children(node_); ++i)
            found.insert(gsk_texture_node_get_texture(gsk_container_node_get_child(node_, i)));
        return found;
    }

    // As the toolkit draws it on a screen of that scale.
    [[nodiscard]] std::vector<std::uint32_t> pixels(int width, int height, double scale) const {
        std::vector<std::uint32_t> drawn(static_cast<std::size_t>(width * height));
        cairo_surface_t* const image = cairo_image_surface_create_for_data(
            reinterpret_cast<unsigned char*>(drawn.data()), CAIRO_FORMAT_ARGB32, width, height, 4 * width);
        cairo_t* const context = cairo_create(image);
        cairo_scale(context, scale, scale);
        gsk_render_node_draw(node_, context);
        cairo_destroy(context);
        cairo_surface_destroy(image);
        return drawn;
    }

private:
    GskRenderNode* node_ = nullptr;
};

class TilesTest : public testing::Test {
protected:
    TilesTest() {
        root->addSubview(ring);
        root->addSubview(light);
        ring->setPercent(42.0);
        surface.setVisible(true);
    }

    static constexpr Size size{400, 300};
    std::shared_ptr<View> root = std::make_shared<View>(Rect{0, 0, size.width, size.height});
    std::shared_ptr<GaugeCircleChart> ring = std::make_shared<GaugeCircleChart>(Rect{10, 10, 280, 280});
    std::shared_ptr<FUIIndicator> light = std::make_shared<FUIIndicator>(Rect{350, 250, 30, 30}); // upper right
    Surface surface{root};
    Tiles tiles;
};

TEST_F(TilesTest, ShowTheViewPixelByPixelAtEachScale) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        SCOPED_TRACE(scale);
        tiles.update(surface, size, scale);
        const int width = static_cast<int>(std::ceil(size.width * scale));
        const int height = static_cast<int>(std::ceil(size.height * scale));
        std::vector<std::uint32_t> wanted(static_cast<std::size_t>(width * height));
        ASSERT_TRUE(renderPixels(*root, wanted.data(), width, height, 4 * width, scale));
        const std::vector<std::uint32_t> drawn = Node(tiles).pixels(width, height, scale);
        int largest = 0;
        for (std::size_t i = 0; i < drawn.size(); ++i)
            for (int shift = 0; shift < 32; shift += 8)
                largest = std::max(largest, std::abs(static_cast<int>(drawn[i] >> shift & 0xFF) -
                                                     static_cast<int>(wanted[i] >> shift & 0xFF)));
        EXPECT_LE(largest, 2);
    }
}

TEST_F(TilesTest, KeepTheTexturesOfWhatDidNotChange) {
    tiles.update(surface, size, 1.0);
    const Node before(tiles); // which keeps its textures
    EXPECT_EQ(before.textures().size(), 4U);
    tiles.update(surface, size, 1.0);
    EXPECT_EQ(Node(tiles).textures(), before.textures());
    light->setIsActive(true);
    tiles.update(surface, size, 1.0);
    const Node after(tiles);
    std::set<GdkTexture*> kept;
    std::ranges::set_intersection(after.textures(), before.textures(), std::inserter(kept, kept.end()));
    EXPECT_EQ(kept.size(), 3U);
    tiles.update(surface, size, 2.0); // another scale: all anew
    EXPECT_EQ(Node(tiles).textures().size(), 12U);
}

TEST_F(TilesTest, LetTheirMemoryGo) {
    tiles.update(surface, size, 1.0);
    tiles.clear();
    light->setIsActive(true);
    tiles.update(surface, size, 1.0);
    EXPECT_EQ(Node(tiles).textures().size(), 4U); // all of it, not only what changed
}

} // namespace
} // namespace sentrel
