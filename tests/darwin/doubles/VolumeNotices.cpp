// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/VolumeNotices.h>

#include "tests/darwin/doubles/VolumeNotices.h"

#include <map>
#include <utility>
#include <vector>

using sentrel::platform::VolumeNotification;

namespace {

using Tell = std::function<void(const VolumeNotification&)>;

std::map<int, Tell>& all() {
    static std::map<int, Tell>& registered = *new std::map<int, Tell>;
    return registered;
}

} // namespace

namespace darwin::workspace {

void post(const VolumeNotification& notice) {
    const std::map<int, Tell> asItBegan = all();
    for (const auto& [number, tell] : asItBegan)
        tell(notice);
}

int registrations() {
    return static_cast<int>(all().size());
}

} // namespace darwin::workspace

namespace sentrel::platform::VolumeNotices {

std::shared_ptr<void> add(std::function<void(const VolumeNotification&)> tell) {
    static int last = 0;
    const int number = ++last;
    all()[number] = std::move(tell);
    return {nullptr, [number](void*) { all().erase(number); }};
}

} // namespace sentrel::platform::VolumeNotices
