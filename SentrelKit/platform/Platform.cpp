// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Platform.h>

#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/detail/Native.h>
#include <SentrelKit/platform/detail/Session.h>

#include <atomic>

namespace sentrel::platform {

namespace {

std::atomic<Platform*> replacement{nullptr};
SessionMaker makeSession = nullptr;

void install(Platform* platform) noexcept {
    replacement.store(platform, std::memory_order_release);
    WallClock::setCurrent(platform ? &platform->clock() : nullptr);
}

} // namespace

Platform& current() noexcept {
    if (Platform* platform = replacement.load(std::memory_order_acquire))
        return *platform;
    static Platform& native = makeNative();
    return native;
}

Override::Override(Platform& platform) : previous_(replacement.load(std::memory_order_acquire)) {
    install(&platform);
    if (makeSession)
        session_ = makeSession(platform);
}

Override::~Override() {
    session_.reset();
    install(previous_);
}

void setSessionMaker(SessionMaker maker) noexcept {
    makeSession = maker;
}

} // namespace sentrel::platform
