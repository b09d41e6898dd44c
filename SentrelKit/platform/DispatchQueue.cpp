// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/DispatchQueue.h>

#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/platform/Platform.h>

#include <limits>

namespace sentrel {

std::int64_t nanosecondsFromSeconds(double seconds) noexcept {
    const double nanoseconds = seconds * 1e9;
    if (!(nanoseconds > 0))
        return 0;
    // 2^63 is the first double past the range; anything below it converts exactly by truncation.
    if (nanoseconds >= 9223372036854775808.0)
        return std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(nanoseconds);
}

namespace dispatch {

std::shared_ptr<DispatchQueue> mainQueue() {
    return platform::current().dispatch().mainQueue();
}

std::shared_ptr<DispatchQueue> backgroundQueue() {
    return platform::current().dispatch().backgroundQueue();
}

std::shared_ptr<DispatchQueue> serialQueue(const std::string& name) {
    return platform::current().dispatch().serialQueue(name);
}

void runMain(double seconds) {
    platform::current().dispatch().runMain(seconds);
}

int mainDescriptor() {
    return platform::current().dispatch().mainDescriptor();
}

void serveMain() {
    platform::current().dispatch().serveMain();
}

} // namespace dispatch

} // namespace sentrel
