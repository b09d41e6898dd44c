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

} // namespace dashboard
