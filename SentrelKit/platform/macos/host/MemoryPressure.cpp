// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/host/MemoryPressure.h>

#include <SentrelKit/platform/macos/common/DispatchOwner.h>
#include <SentrelKit/platform/support/Observer.h>

#include <dispatch/dispatch.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <utility>

namespace sentrel::platform {

namespace {

// What a source calls back with; it lives as long as the source, which may still call when it is cancelled.
using Context = std::shared_ptr<Observer>;

void tell(void* context) noexcept { // an exception does not pass through dispatch
    const Context observer = *static_cast<const Context*>(context);
    observer->tell();
}

void release(void* context) {
    delete static_cast<Context*>(context);
}

class LevelSource {
public:
    LevelSource(const Context& observer, std::uintptr_t levels)
        : source_(dispatch_source_create(DISPATCH_SOURCE_TYPE_MEMORYPRESSURE, 0, levels,
                                         dispatch_get_global_queue(QOS_CLASS_BACKGROUND, 0))) {
        if (!source_.get())
            return;
        dispatch_set_context(source_.get(), new Context(observer));
        dispatch_source_set_event_handler_f(source_.get(), &tell);
        dispatch_set_finalizer_f(source_.get(), &release);
        dispatch_resume(source_.get());
    }
    ~LevelSource() {
        if (source_.get())
            dispatch_source_cancel(source_.get());
    }
    LevelSource(const LevelSource&) = delete;
    LevelSource& operator=(const LevelSource&) = delete;

    explicit operator bool() const noexcept { return source_.get() != nullptr; }

private:
    const DispatchOwner<dispatch_source_t> source_;
};

} // namespace

Observation observeMemoryPressure(PressureThreshold::Kind kind, std::function<void()> crossed) {
    const std::uintptr_t levels = kind == PressureThreshold::Kind::some
                                      ? DISPATCH_MEMORYPRESSURE_WARN | DISPATCH_MEMORYPRESSURE_CRITICAL
                                      : DISPATCH_MEMORYPRESSURE_CRITICAL;
    auto observer = std::make_shared<Observer>(std::move(crossed));
    auto source = std::make_shared<LevelSource>(observer, levels);
    if (!*source) {
        errno = ENOTSUP;
        return {};
    }
    return Observation(std::move(observer), std::move(source));
}

} // namespace sentrel::platform
