#pragma once

/// The archive that a view is built from, as an interface file holds it: named values. What is missing or of another
/// kind decodes to zero or to an empty text. A view takes its frame from it ("frame": a list of x, y, width and
/// height); a text field its text too ("stringValue"). Everything else starts with the component's own defaults.

#include <SentrelKit/platform/PropertyList.h>
#include <SentrelKit/views/Geometry.h>

#include <string>
#include <string_view>
#include <utility>

namespace sentrel {

class SENTREL_API Coder {
public:
    explicit Coder(PropertyList archive) : archive_(std::move(archive)) {}

    [[nodiscard]] Rect decodeRect(std::string_view key) const;
    [[nodiscard]] std::string decodeString(std::string_view key) const;

private:
    PropertyList archive_;
};

} // namespace sentrel
