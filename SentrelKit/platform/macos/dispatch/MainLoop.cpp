// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/dispatch/MainLoop.h>

#include <SentrelKit/platform/macos/common/Uptime.h>

#include <CoreFoundation/CoreFoundation.h>
#include <pthread.h>

#include <exception>

namespace sentrel::platform::MainLoop {

namespace {

// Touched by the main thread alone.
struct Run {
    std::exception_ptr thrown;
    Run* outer;
};
Run* innermost = nullptr;

} // namespace

void run(double seconds) {
    Run current{.thrown = nullptr, .outer = innermost};
    innermost = &current;
    const std::int64_t begin = uptimeNanoseconds();
    double left = seconds > 0 ? seconds : 0;
    // One turn at a time, and one even when there is no time: what is ready runs.
    do {
        const CFRunLoopRunResult result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, left, true);
        // A host may stop its loop; and a loop without a source, which cannot be as long as there is a main queue,
        // would not wait.
        if (result == kCFRunLoopRunStopped || result == kCFRunLoopRunFinished)
            break;
        left = seconds - static_cast<double>(uptimeNanoseconds() - begin) * 1e-9;
    } while (!current.thrown && left > 0);
    innermost = current.outer;
    if (current.thrown)
        std::rethrow_exception(current.thrown);
}

void leave() noexcept {
    if (!innermost)
        std::terminate();
    innermost->thrown = std::current_exception();
    CFRunLoopStop(CFRunLoopGetMain());
}

bool isLeft() noexcept {
    return pthread_main_np() != 0 && innermost && innermost->thrown;
}

} // namespace sentrel::platform::MainLoop
