// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Canvas.h>

#include <memory>
#include <string>
#include <vector>

namespace sentrel {

/// A picture in memory, as the drawing system of the machine makes and reads it.
class Image {
public:
    /// A transparent one.
    Image(int width, int height);
    /// What a PNG file shows; of no size if there is none.
    explicit Image(const std::string& path);
    ~Image();
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    [[nodiscard]] int width() const noexcept;
    [[nodiscard]] int height() const noexcept;

    /// Row by row from the upper left corner, four bytes for each pixel: three colours in the drawing system's order,
    /// each times the fourth, its opacity.
    [[nodiscard]] std::vector<unsigned char> bytes() const;

    /// Draws on it, from its upper left corner on, a pixel being a point.
    [[nodiscard]] std::unique_ptr<Canvas> canvas() const;

    /// False once the drawing system has met an error in drawing on it: then it draws nothing more.
    [[nodiscard]] bool isIntact() const noexcept;

private:
    struct Content;
    std::unique_ptr<Content> content_;
};

} // namespace sentrel
