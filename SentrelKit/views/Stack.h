// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/views/View.h>

#include <cstdint>
#include <iosfwd>
#include <memory>

namespace sentrel {

/// Lays the views inside it out in a row from left to right or in a column from the top down, each in its natural size;
/// stacks in stacks make tables. It draws nothing itself. What is left over along the stack goes to the views with a
/// `stretch`, by their shares; what lacks is taken from them in the same way, down to nothing. Without such views it
/// stays free at the end, or what does not fit is cut off there. Hidden views take no room. Edges come to lie on whole
/// points. Main thread.
class SENTREL_API Stack : public View {
public:
    /// Which way it runs.
    enum class Axis : std::uint8_t {
        row,    ///< from left to right
        column, ///< from the top down
    };

    /// Where the views lie across the stack.
    enum class Alignment : std::uint8_t {
        fill,   ///< from one side to the other
        start,  ///< at the top of a row, at the left of a column
        center, ///< in the middle
        end,    ///< at the bottom of a row, at the right of a column
    };

    /// An empty stack at a frame of its superview's coordinates.
    explicit Stack(Axis axis, Rect frame = {});

    /// Which way it runs.
    [[nodiscard]] Axis axis() const noexcept { return axis_; }

    /// Asks for another layout if that changes anything.
    void setAxis(Axis axis);

    /// The room between two views in points; 0 from the start.
    [[nodiscard]] double spacing() const noexcept { return spacing_; }

    /// Asks for another layout if that changes anything.
    void setSpacing(double points);

    /// The room along each of its four edges in points; 0 from the start.
    [[nodiscard]] double padding() const noexcept { return padding_; }

    /// Asks for another layout if that changes anything.
    void setPadding(double points);

    /// Where the views lie across the stack; `fill` from the start.
    [[nodiscard]] Alignment alignment() const noexcept { return alignment_; }

    /// Asks for another layout if that changes anything.
    void setAlignment(Alignment alignment);

    /// Puts a view at the end, with a share of the room that is left over, and returns it: what `setStretch` and
    /// `addSubview` do.
    template <class Kind>
    std::shared_ptr<Kind> add(std::shared_ptr<Kind> view, double stretch = 0.0) {
        view->setStretch(stretch);
        addSubview(view);
        return view;
    }

    /// Always: y grows downward.
    [[nodiscard]] bool isFlipped() const override { return true; }

    /// What the natural sizes of the views, the room between them and the padding need, in whole points.
    [[nodiscard]] Size fittingSize() const override;

protected:
    /// Places the views.
    void layout() override;

private:
    void askForLayout();

    Axis axis_;
    Alignment alignment_ = Alignment::fill;
    double spacing_ = 0.0;
    double padding_ = 0.0;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Stack::Axis value);

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Stack::Alignment value);

} // namespace sentrel
