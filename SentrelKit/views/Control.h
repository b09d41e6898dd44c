#pragma once

/// A view that tells its host when it was used. Main thread.

#include <SentrelKit/views/View.h>

#include <functional>
#include <memory>
#include <optional>

namespace sentrel {

class SENTREL_API Control : public View {
public:
    /// What is called, with the control, when it was used.
    using Action = std::function<void(Control& sender)>;

    explicit Control(Rect frame = {});
    explicit Control(Coder& coder);

    /// The object that the action is for. It is not kept alive: once it is gone, the action is not called any more.
    void setTarget(const std::shared_ptr<void>& target);

    /// Without a target the action is called as long as the control lives.
    void setAction(Action action);

protected:
    void sendAction();

private:
    std::optional<std::weak_ptr<void>> target_;
    Action action_;
};

} // namespace sentrel
