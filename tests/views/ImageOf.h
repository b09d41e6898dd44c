// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>

#include "tests/views/support/Image.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <vector>

namespace sentrel {

/// The pixels that a view makes on a ground at a scale.
class ImageOf {
public:
    explicit ImageOf(View& view, double scale = 1.0, const Color& ground = FUIColor::white())
        : image_(static_cast<int>(std::ceil(view.bounds().width * scale)),
                 static_cast<int>(std::ceil(view.bounds().height * scale))) {
        const std::unique_ptr<Canvas> canvas = image_.canvas();
        canvas->concat(Transform::scale(scale, scale));
        canvas->fill(Path::rect(view.bounds()), ground);
        view.display(*canvas);
        bytes_ = image_.bytes();
    }

    [[nodiscard]] int width() const noexcept { return image_.width(); }
    [[nodiscard]] int height() const noexcept { return image_.height(); }

    /// Red, green and blue, 0 to 255.
    [[nodiscard]] std::array<int, 3> at(int x, int y) const {
        const std::size_t start =
            (static_cast<std::size_t>(y) * static_cast<std::size_t>(width()) + static_cast<std::size_t>(x)) * 4;
        const std::size_t red = redFirst() ? 0 : 2;
        return {bytes_[start + red], bytes_[start + 1], bytes_[start + 2 - red]};
    }

private:
    // In which order the drawing system keeps colours.
    static bool redFirst() {
        static const bool first = [] {
            const Image pixel(1, 1);
            pixel.canvas()->fill(Path::rect({0, 0, 1, 1}), Color{1.0, 0.0, 0.0, 1.0});
            return pixel.bytes()[0] == 255;
        }();
        return first;
    }

    Image image_;
    std::vector<unsigned char> bytes_;
};

} // namespace sentrel
