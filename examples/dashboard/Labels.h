// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/TextField.h>

#include <memory>
#include <string>

namespace dashboard {

/// The styles of the labels on the card.
enum class LabelStyle { headline, remark, title, name, value, figure };

/// Adds a label to a view.
std::shared_ptr<sentrel::TextField> addLabel(sentrel::View& view, sentrel::Rect frame, LabelStyle style,
                                             const std::string& text = {},
                                             sentrel::TextAlignment alignment = sentrel::TextAlignment::left);

/// Shows two texts on one line, each in a label that reaches from end to end: the left one is shortened where it would
/// run into the right one.
void showEndToEnd(sentrel::TextField& left, const std::string& leftText, sentrel::TextField& right,
                  const std::string& rightText);

} // namespace dashboard
