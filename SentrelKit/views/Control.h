// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>

#include <functional>
#include <memory>
#include <optional>

namespace sentrel {

/// A view that tells its host when it was used. Main thread.
class SENTREL_API Control : public View {
public:
    /// What is called, with the control, when it was used.
    using Action = std::function<void(Control& sender)>;

    /// A control without an action at a frame of its superview's coordinates.
    explicit Control(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit Control(Coder& coder);

    /// The object that the action is for, or null for none. It is not kept alive: once it is gone, the action is not
    /// called any more.
    void setTarget(const std::shared_ptr<void>& target);

    /// What is called from now on, or nothing. Without a target it is called as long as the control lives. The action
    /// may set another, and may release the control.
    void setAction(Action action);

protected:
    /// Calls the action, for a control that was used; nothing without one, or once its target is gone.
    void sendAction();

private:
    std::optional<std::weak_ptr<void>> target_;
    Action action_;
};

} // namespace sentrel
