// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Control.h>

#include <utility>

namespace sentrel {

Control::Control(Rect frame) : View(frame) {}

Control::Control(Coder& coder) : View(coder) {}

void Control::setTarget(const std::shared_ptr<void>& target) {
    target_ = target ? std::optional<std::weak_ptr<void>>(target) : std::nullopt;
}

void Control::setAction(Action action) {
    action_ = std::move(action);
}

void Control::sendAction() {
    const std::shared_ptr<void> target = target_ ? target_->lock() : nullptr;
    if (target_ && !target)
        return;
    const Action action = action_; // it may set another
    if (action)
        action(*this);
}

} // namespace sentrel
