// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/Dispatch.h>

#include <atomic>
#include <memory>

namespace sentrel::platform {

/// The desktop over its notification service (org.freedesktop.Notifications) and its opener. Notifications go out one
/// after the other on a queue of their own, so that a slow service holds nobody up.
class LinuxDesktop final : public Desktop {
public:
    explicit LinuxDesktop(Dispatch& dispatch);
    ~LinuxDesktop() override;

    [[nodiscard]] std::string defaultSoundName() const override;
    void deliver(const UserNotification& notification) override;

    /// What is started has the host's own niceness, also where the calling thread's is higher: then a thread of the
    /// main queue's starts it. If the main queue is not served within a second, the calling thread does.
    bool openAddress(const std::string& address) override;

protected:
    void installPresentation() override { presents_ = true; }

private:
    class Notifier;
    class Opening;

    std::atomic<bool> presents_{false};
    std::shared_ptr<DispatchQueue> main_;
    std::shared_ptr<DispatchQueue> queue_;
    std::shared_ptr<Notifier> notifier_; // shared with a delivery that is under way
};

} // namespace sentrel::platform
