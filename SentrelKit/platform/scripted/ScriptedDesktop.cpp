// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedDesktop.h>

namespace sentrel::platform {

std::string ScriptedDesktop::defaultSoundName() const {
    calls.record("defaultSoundName");
    return "default";
}

// One that fails is dropped, as by a desktop without a notification service.
void ScriptedDesktop::deliver(const UserNotification& notification) {
    if (calls.fails("deliver", notification.title))
        return;
    const LockScope scope(lock_);
    delivered_.push_back(notification);
}

bool ScriptedDesktop::openAddress(const std::string& address) {
    if (calls.fails("openAddress", address))
        return false;
    const LockScope scope(lock_);
    opened_.push_back(address);
    return true;
}

std::vector<UserNotification> ScriptedDesktop::delivered() const {
    const LockScope scope(lock_);
    return delivered_;
}

std::vector<std::string> ScriptedDesktop::opened() const {
    const LockScope scope(lock_);
    return opened_;
}

} // namespace sentrel::platform
