// SPDX-License-Identifier: Apache-2.0
// What stands for the services that are written in Objective-C++ alone.

#include <SentrelKit/platform/macos/desktop/MacDesktop.h>
#include <SentrelKit/platform/macos/preferences/MacPreferenceStore.h>
#include <SentrelKit/platform/scripted/ScriptedPreferenceStore.h>

#include "tests/darwin/doubles/Machine.h"

namespace sentrel::platform {

std::string MacDesktop::defaultSoundName() const {
    return "DefaultSoundName";
}

void MacDesktop::installPresentation() {}

void MacDesktop::deliver(const UserNotification& notification) {
    darwin::machine().delivered.push_back(notification);
}

bool MacDesktop::openAddress(const std::string&) {
    return false;
}

std::shared_ptr<PreferenceSuite> MacPreferenceStore::suite(const std::string& name) {
    static ScriptedPreferenceStore& store = *new ScriptedPreferenceStore;
    return store.suite(name);
}

} // namespace sentrel::platform
