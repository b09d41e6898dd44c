// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/views/drawing/Geometry.h>

#include <string>
#include <string_view>
#include <utility>

namespace sentrel {

/// The archive that a view is built from, as an interface file holds it: named values. What is missing or of another
/// kind decodes to zero or to an empty text. A view takes its frame from it ("frame": a list of x, y, width and
/// height); a text field its text too ("stringValue"). Everything else starts with the component's own defaults.
class SENTREL_API Coder {
public:
    /// Keeps the archive: a dictionary of the named values; anything else holds none.
    explicit Coder(PropertyList archive) : archive_(std::move(archive)) {}

    /// The rectangle under a name, from a list of x, y, width and height in points; all 0 without such a list.
    [[nodiscard]] Rect decodeRect(std::string_view key) const;

    /// The text under a name, UTF-8; empty without one.
    [[nodiscard]] std::string decodeString(std::string_view key) const;

private:
    PropertyList archive_;
};

} // namespace sentrel
