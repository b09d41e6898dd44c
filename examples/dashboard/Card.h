// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/System.h>
#include <SentrelKit/views/View.h>

#include <memory>

namespace dashboard {

/// The picture: a card with the machine's figures as rings and labels. Its `refresh` takes the figures over from the
/// models, as a widget does each time it redraws.
class Card final : public sentrel::View {
public:
    explicit Card(const sentrel::System& system);
    ~Card() override;

    void refresh();

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;

private:
    struct Parts;
    const sentrel::System& system_;
    std::unique_ptr<Parts> parts_;
};

} // namespace dashboard
