// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/gtk/detail/Tiles.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace sentrel {

namespace {

// 0xAARRGGBB in the machine's byte order, premultiplied.
constexpr auto pixelFormat = std::endian::native == std::endian::little
                                 ? Gdk::MemoryTexture::Format::B8G8R8A8_PREMULTIPLIED
                                 : Gdk::MemoryTexture::Format::A8R8G8B8_PREMULTIPLIED;

} // namespace

void Tiles::update(Surface& surface, Size size, double scale) {
    std::vector<Rect> areas = surface.dirtyRects();
    const int width = static_cast<int>(std::ceil(size.width * scale));
    const int height = static_cast<int>(std::ceil(size.height * scale));
    if (width != width_ || height != height_ || scale != scale_) {
        width_ = width;
        height_ = height;
        scale_ = scale;
        pixels_.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
        textures_.assign(static_cast<std::size_t>(columns()) * static_cast<std::size_t>(rows()), {});
        areas = {{0.0, 0.0, size.width, size.height}};
    }
    if (areas.empty() || !surface.drawPixels(pixels_.data(), width, height, 4 * width, scale, areas))
        return;
    for (const Rect& area : areas)
        renew(area);
}

void Tiles::renew(const Rect& area) {
    const auto tile = [&](double points, int most) {
        return std::clamp(static_cast<int>(std::clamp(points * scale_ / side, 0.0, 1.0e6)), 0, most);
    };
    const int right = tile(area.x + area.width, columns() - 1);
    const int bottom = tile(area.y + area.height, rows() - 1);
    for (int row = tile(area.y, rows()); row <= bottom; ++row)
        for (int column = tile(area.x, columns()); column <= right; ++column)
            textures_[index(column, row)] = cut(column, row);
}

Glib::RefPtr<Gdk::Texture> Tiles::cut(int column, int row) const {
    const int left = column * side;
    const int top = row * side;
    const auto width = static_cast<std::size_t>(std::min(side, width_ - left));
    const auto height = static_cast<std::size_t>(std::min(side, height_ - top));
    std::vector<std::uint32_t> part(width * height);
    for (std::size_t y = 0; y < height; ++y) {
        const auto start = (static_cast<std::size_t>(top) + y) * static_cast<std::size_t>(width_);
        std::memcpy(&part[y * width], &pixels_[start + static_cast<std::size_t>(left)], 4 * width);
    }
    return Gdk::MemoryTexture::create(static_cast<int>(width), static_cast<int>(height), pixelFormat,
                                      Glib::Bytes::create(part.data(), 4 * part.size()), 4 * width);
}

void Tiles::append(Gtk::Snapshot& snapshot) const {
    for (int row = 0; row < rows(); ++row)
        for (int column = 0; column < columns(); ++column)
            if (const auto& texture = textures_[index(column, row)]) {
                const auto points = [&](int pixels) { return static_cast<float>(pixels / scale_); };
                const graphene_rect_t place = {{points(column * side), points(row * side)},
                                               {points(texture->get_width()), points(texture->get_height())}};
                gtk_snapshot_append_texture(snapshot.gobj(), texture->gobj(), &place);
            }
}

void Tiles::clear() {
    *this = Tiles();
}

} // namespace sentrel
