// SPDX-License-Identifier: Apache-2.0
#include "tests/views/support/PictureTolerance.h"
#include "tests/views/DrawnCalls.h"
#include "tests/views/Specimens.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace sentrel {

namespace {

class PictureTolerances : public LineDefaults {
protected:
    // Checks each sheet, drawn as it is, beside itself moved to the right and down, at both resolutions.
    void forEachMoved(double points, const std::function<void(const Image&, const Image&, int)>& check) {
        for (Specimen& specimen : specimens_.all())
            for (const int scale : {1, 2}) {
                SCOPED_TRACE(specimen.name + " at " + std::to_string(scale));
                check(*drawn(specimen, scale, points), *drawn(specimen, scale, 0.0), scale);
            }
    }

private:
    static std::unique_ptr<Image> drawn(Specimen& specimen, int scale, double moved) {
        reset();
        const Rect size = specimen.sheet->bounds();
        auto image =
            std::make_unique<Image>(static_cast<int>(size.width) * scale, static_cast<int>(size.height) * scale);
        const std::unique_ptr<Canvas> canvas = image->canvas();
        const double factor = scale;
        canvas->concat({factor, 0.0, 0.0, factor, moved * factor, moved * factor});
        specimen.sheet->display(*canvas, specimen.time);
        return image;
    }

    Specimens specimens_;
};

TEST_F(PictureTolerances, LetNoSheetOfOneDrawingSystemMoveByHalfAPoint) {
    forEachMoved(0.5, [](const Image& moved, const Image& sheet, int scale) {
        EXPECT_TRUE(looksLike(sheet, sheet, scale, sameDrawingSystem));
        EXPECT_FALSE(looksLike(moved, sheet, scale, sameDrawingSystem));
        EXPECT_TRUE(looksLike(moved, sheet, scale, otherDrawingSystem));
    });
}

TEST_F(PictureTolerances, LetNoSheetOfAnotherDrawingSystemMoveByTwoPoints) {
    forEachMoved(2.0, [](const Image& moved, const Image& sheet, int scale) {
        EXPECT_FALSE(looksLike(moved, sheet, scale, otherDrawingSystem));
    });
}

TEST_F(PictureTolerances, LetNoPictureHaveAnotherSize) {
    EXPECT_FALSE(looksLike(Image(8, 8), Image(8, 9), 1, otherDrawingSystem));
    EXPECT_FALSE(looksLike(Image("/dev/null"), Image("/dev/null"), 1, otherDrawingSystem)) << "no picture at all";
}

TEST_F(PictureTolerances, CompareEachColorInEachSquare) {
    const Image white(30, 30);
    white.canvas()->fill(Path::rect({0, 0, 30, 30}), FUIColor::white());
    for (const Color& color : {Color{1, 1, 0.75, 1}, Color{1, 0.75, 1, 1}, Color{0.75, 1, 1, 1}}) {
        const Image shaded(30, 30);
        shaded.canvas()->fill(Path::rect({0, 0, 30, 30}), FUIColor::white());
        shaded.canvas()->fill(Path::rect({28, 28, 2, 2}), color); // the last square is a part of one
        EXPECT_FALSE(looksLike(shaded, white, 1, {4, 60, 0.0}));
        EXPECT_TRUE(looksLike(shaded, white, 1, {4, 70, 0.0}));
        EXPECT_TRUE(looksLike(shaded, white, 1, {4, 60, 1.0 / 64.0})) << "one of 64 squares";
        EXPECT_FALSE(looksLike(shaded, white, 1, {4, 60, 1.0 / 65.0}));
    }
}

} // namespace

} // namespace sentrel
