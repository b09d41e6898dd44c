// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/macos/common/DispatchOwner.h>
#include <SentrelKit/platform/macos/dispatch/Closure.h>
#include <SentrelKit/platform/macos/dispatch/MacTimer.h>
#include <SentrelKit/platform/macos/dispatch/MainLoop.h>

#include <pthread.h>

#include <memory>
#include <utility>

namespace sentrel::platform {

namespace {

class MacQueue final : public DispatchQueue {
public:
    explicit MacQueue(DispatchOwner<dispatch_queue_t> queue) : queue_(std::move(queue)) {}

    void async(std::function<void()> work) override {
        dispatch_async_f(queue_.get(), boxed(std::move(work)), &runBoxed);
    }

    void after(std::int64_t nanoseconds, std::function<void()> work) override {
        const std::int64_t delay = nanoseconds > 0 ? nanoseconds : 0;
        dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, delay), queue_.get(), boxed(std::move(work)), &runBoxed);
    }

    std::unique_ptr<RepeatingTimer> makeTimer(std::int64_t nanoseconds, std::function<void()> tick) override {
        return std::make_unique<MacTimer>(queue_.get(), nanoseconds, std::move(tick));
    }

    void* nativeHandle() const noexcept override { return queue_.get(); }

private:
    const DispatchOwner<dispatch_queue_t> queue_;
};

} // namespace

MacDispatch::MacDispatch()
    : main_(std::make_shared<MacQueue>(DispatchOwner<dispatch_queue_t>::retained(dispatch_get_main_queue()))),
      background_(std::make_shared<MacQueue>(
          DispatchOwner<dispatch_queue_t>::retained(dispatch_get_global_queue(QOS_CLASS_BACKGROUND, 0)))) {}

std::shared_ptr<DispatchQueue> MacDispatch::serialQueue(const std::string& name) {
    return std::make_shared<MacQueue>(
        DispatchOwner<dispatch_queue_t>(dispatch_queue_create(name.c_str(), DISPATCH_QUEUE_SERIAL)));
}

void MacDispatch::runMain(double seconds) {
    if (pthread_main_np() == 0) {
        System_error("Error: the main queue runs on the first thread of a process\n");
        return;
    }
    MainLoop::run(seconds);
}

} // namespace sentrel::platform
