// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What assistive technology is told of a tree of views. Main thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/drawing/Geometry.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

class View;

/// What a view is to somebody who does not see it.
enum class AccessibilityRole : std::uint8_t {
    none,           ///< nothing: what lies in it stands in its place
    group,          ///< what lies in it belongs together
    staticText,     ///< a label
    image,          ///< a picture whose value says what it shows
    levelIndicator, ///< a figure on a scale
    button,         ///< does something when pressed
    link,           ///< leads somewhere when pressed
    toggle,         ///< on or off
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, AccessibilityRole value);

/// One thing that assistive technology tells of and may press: a view of a tree at one moment.
struct AccessibleElement {
    std::weak_ptr<View> view;                         ///< expired once the view is gone
    AccessibilityRole role = AccessibilityRole::none; ///< never `none`
    std::string name;                                 ///< what it is, UTF-8: "Processor"; may be empty
    std::optional<std::string> value;                 ///< what it says, to be spoken: "42 percent"
    std::optional<double> level;                      ///< the figure of a level indicator, in percent, 0 to 100
    Rect frame;                                       ///< in the surface's coordinates
    bool isEnabled = true;                            ///< whether it can be used
    bool isFocusable = false;                         ///< whether keys can be sent to it
    bool isFocused = false;                           ///< whether keys go to it
    std::vector<AccessibleElement> children;          ///< what lies in it, in the order of the views
};

/// The elements of a tree as it is now, without what is hidden. A view counts by its role; one without a role but with
/// a name is a group. What lies in a view that has a role of its own is told too, except for labels: they are part of
/// its picture. A label or a link without a name is named by its text and has no value besides.
[[nodiscard]] SENTREL_API std::vector<AccessibleElement> accessibleElements(const std::shared_ptr<View>& root);

} // namespace sentrel
