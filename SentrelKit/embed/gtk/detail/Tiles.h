// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Surface.h>

#include <gdkmm/memorytexture.h>
#include <gtkmm/snapshot.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sentrel {

/// What a surface showed last, in device pixels, cut into textures: the toolkit draws and uploads those alone that are
/// new since its last frame. Main thread.
class Tiles {
public:
    /// Draws what the surface says is dirty, or all of it at a new size or scale. A size in points.
    void update(Surface& surface, Size size, double scale);

    /// Adds the textures that there are.
    void append(Gtk::Snapshot& snapshot) const;

    /// Lets the memory go; the next update draws all.
    void clear();

private:
    static constexpr int side = 256; ///< of a tile, in device pixels

    [[nodiscard]] int columns() const noexcept { return (width_ + side - 1) / side; }
    [[nodiscard]] int rows() const noexcept { return (height_ + side - 1) / side; }
    void renew(const Rect& area);
    [[nodiscard]] std::size_t index(int column, int row) const noexcept {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns()) + static_cast<std::size_t>(column);
    }
    [[nodiscard]] Glib::RefPtr<Gdk::Texture> cut(int column, int row) const;

    int width_ = 0;  // device pixels
    int height_ = 0; // device pixels
    double scale_ = 0.0;
    std::vector<std::uint32_t> pixels_;
    std::vector<Glib::RefPtr<Gdk::Texture>> textures_; // row by row
};

} // namespace sentrel
