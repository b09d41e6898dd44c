// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <string>
#include <vector>

namespace sentrel::platform {

/// A desktop that shows nothing and opens nothing, and keeps what it was asked for. A delivery is recorded with the
/// title, an opening with the address. Any thread.
class SENTREL_API ScriptedDesktop final : public Desktop {
public:
    [[nodiscard]] std::string defaultSoundName() const override;
    void deliver(const UserNotification& notification) override;
    bool openAddress(const std::string& address) override;

    /// The notifications, in their order.
    [[nodiscard]] std::vector<UserNotification> delivered() const;
    /// The addresses that were opened, in their order.
    [[nodiscard]] std::vector<std::string> opened() const;

    ScriptedCalls calls; ///< what was asked, and how it fails

protected:
    void installPresentation() override { calls.record("presentWhileFrontmost"); }

private:
    mutable Lock lock_;
    std::vector<UserNotification> delivered_ SENTREL_GUARDED_BY(lock_);
    std::vector<std::string> opened_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
