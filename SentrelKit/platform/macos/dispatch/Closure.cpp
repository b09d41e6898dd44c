// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/dispatch/Closure.h>

#include <SentrelKit/platform/macos/dispatch/MainLoop.h>

#include <dispatch/dispatch.h>
#include <pthread.h>

#include <exception>
#include <memory>
#include <utility>

namespace sentrel::platform {

void runClosure(const std::function<void()>& closure) noexcept {
    try {
        closure();
    } catch (...) {
        if (pthread_main_np() == 0)
            std::terminate();
        MainLoop::leave();
    }
}

void* boxed(std::function<void()> closure) {
    return new std::function<void()>(std::move(closure));
}

void runBoxed(void* context) {
    if (MainLoop::isLeft()) {
        dispatch_async_f(dispatch_get_main_queue(), context, &runBoxed);
        return;
    }
    const std::unique_ptr<std::function<void()>> closure(static_cast<std::function<void()>*>(context));
    runClosure(*closure);
}

} // namespace sentrel::platform
