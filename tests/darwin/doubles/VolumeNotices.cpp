// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/VolumeNotices.h>

#include "tests/darwin/doubles/VolumeNotices.h"

#include <map>
#include <mutex>
#include <utility>
#include <vector>

using sentrel::platform::VolumeNotification;

namespace {

using Tell = std::function<void(const VolumeNotification&)>;

struct Centre {
    std::mutex lock;
    int last = 0; // number
    std::map<int, Tell> registered;
};

Centre& centre() {
    static Centre& instance = *new Centre;
    return instance;
}

std::map<int, Tell> registered() {
    const std::lock_guard guard(centre().lock);
    return centre().registered;
}

} // namespace

namespace darwin::workspace {

void post(const VolumeNotification& notice) {
    const std::map<int, Tell> asItBegan = registered();
    for (const auto& [number, tell] : asItBegan)
        tell(notice);
}

int registrations() {
    return static_cast<int>(registered().size());
}

} // namespace darwin::workspace

namespace sentrel::platform::VolumeNotices {

std::shared_ptr<void> add(std::function<void(const VolumeNotification&)> tell) {
    const std::lock_guard guard(centre().lock);
    const int number = ++centre().last;
    centre().registered[number] = std::move(tell);
    return {nullptr, [number](void*) {
                Tell released; // outside the lock
                const std::lock_guard inner(centre().lock);
                released.swap(centre().registered[number]);
                centre().registered.erase(number);
            }};
}

} // namespace sentrel::platform::VolumeNotices
