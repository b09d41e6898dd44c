// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Style.h"

#include <SentrelKit/views/TextField.h>

namespace dashboard {

/// A label whose colour follows the appearance. Its text is somebody's word, so it is shown without what would turn or
/// break the line.
class Label final : public sentrel::TextField {
public:
    explicit Label(TextStyle style, const std::string& text = {},
                   sentrel::TextAlignment alignment = sentrel::TextAlignment::left);

    void show(const std::string& text);

    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;

private:
    const TextStyle style_;
};

} // namespace dashboard
