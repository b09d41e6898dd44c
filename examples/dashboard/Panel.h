// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/InfoRow.h"
#include "examples/dashboard/Label.h"

#include <SentrelKit/views/Stack.h>

#include <initializer_list>
#include <memory>
#include <string>

namespace dashboard {

/// A card with a title, a note at the other end of the title's line, and what a subclass puts under them. A screen
/// reader has it as a group of the title's name.
class Panel : public sentrel::Stack {
public:
    explicit Panel(const std::string& title);

    /// Takes the figures over from the models. False if there is nothing that the panel could show.
    virtual bool refresh() = 0;

    /// Begins its histories anew: nobody sampled for a while.
    virtual void forget() {}

    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;

protected:
    void note(const std::string& text) { note_->show(text); }

    /// Adds names whose values come later.
    std::shared_ptr<InfoRow> addRow(const std::string& name);

private:
    std::shared_ptr<Label> note_;
};

/// Views beside each other, each with its share of the width.
std::shared_ptr<sentrel::Stack> makeRow(double spacing,
                                        sentrel::Stack::Alignment alignment = sentrel::Stack::Alignment::center);

/// Views below each other.
std::shared_ptr<sentrel::Stack> makeColumn(double spacing = 0);

/// A line of text without a width of its own: it takes what its stack gives it.
std::shared_ptr<Label> makeLine(TextStyle style, const std::string& text = {},
                                sentrel::TextAlignment alignment = sentrel::TextAlignment::left);

/// Room that a stack leaves free.
std::shared_ptr<sentrel::View> makeSpace(double width, double height);

} // namespace dashboard
