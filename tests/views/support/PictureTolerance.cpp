// SPDX-License-Identifier: Apache-2.0
#include "tests/views/support/PictureTolerance.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>

namespace sentrel {

namespace {

struct Square {
    int left;
    int top;
    int right;
    int bottom;
};

std::array<int, 3> meanColor(const std::vector<unsigned char>& bytes, int width, const Square& square) {
    std::array<int, 3> sums{};
    for (int y = square.top; y < square.bottom; ++y)
        for (int x = square.left; x < square.right; ++x)
            for (std::size_t channel = 0; channel < sums.size(); ++channel)
                sums[channel] += bytes[static_cast<std::size_t>(y * width + x) * 4 + channel];
    const int pixels = (square.right - square.left) * (square.bottom - square.top);
    for (int& sum : sums)
        sum /= pixels;
    return sums;
}

} // namespace

testing::AssertionResult looksLike(const Image& picture, const Image& other, int scale,
                                   const PictureTolerance& tolerance) {
    const int width = picture.width();
    const int height = picture.height();
    if (width == 0 || height == 0 || width != other.width() || height != other.height())
        return testing::AssertionFailure()
               << width << "x" << height << " pixels instead of " << other.width() << "x" << other.height();
    const std::vector<unsigned char> here = picture.bytes();
    const std::vector<unsigned char> there = other.bytes();
    const int side = std::max(tolerance.side * scale, 1);
    int squares = 0;
    int off = 0;
    for (int y = 0; y < height; y += side)
        for (int x = 0; x < width; x += side) {
            const Square square{x, y, std::min(x + side, width), std::min(y + side, height)};
            const std::array<int, 3> one = meanColor(here, width, square);
            const std::array<int, 3> another = meanColor(there, width, square);
            const auto differs = [&](int a, int b) { return std::abs(a - b) > tolerance.shade; };
            off += !std::equal(one.begin(), one.end(), another.begin(), std::not_fn(differs));
            ++squares;
        }
    return (off <= static_cast<int>(squares * tolerance.share) ? testing::AssertionSuccess()
                                                               : testing::AssertionFailure())
           << off << " of " << squares << " squares differ";
}

} // namespace sentrel
