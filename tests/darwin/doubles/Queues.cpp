// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Queues.h"

#include "tests/darwin/doubles/Ledger.h"

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <utility>
#include <vector>

using namespace darwin;

struct dispatch_source_type_s {};

namespace {

constexpr const char* objects = "dispatch object";

struct Queue : dispatch_queue_s {
    std::string name;
    bool isGlobal = false;
    Queue* target = nullptr; ///< runs its work, on the system's background threads if there is none
};

struct Source : dispatch_source_s {
    Queue* queue = nullptr;
    void* context = nullptr;
    dispatch_function_t handler = nullptr;
    dispatch_function_t finalizer = nullptr;
    int suspensions = 1;
    bool isCancelled = false;
    bool isArmed = false;
    std::int64_t deadline = 0;
    std::int64_t interval = 0;
};

struct Item {
    Queue* queue;
    void* context;
    dispatch_function_t work;
};

struct State {
    Queue main;
    Queue background;
    std::multimap<std::int64_t, Item> waiting;
    std::list<Source*> alive;
    std::string running;
    std::int64_t now = 0;
    bool isMainThread = true;
    bool isStopped = false;
};

State& state() {
    static State& instance = *new State;
    static const bool named = [] {
        instance.main.name = "main";
        instance.main.isGlobal = true;
        instance.background.name = "background";
        instance.background.isGlobal = true;
        return true;
    }();
    static_cast<void>(named);
    return instance;
}

void run(Queue* queue, dispatch_function_t work, void* context) {
    const Queue* const onto = queue->target ? queue->target : queue;
    const std::string outer = std::exchange(state().running, onto->name);
    const bool wasMain = std::exchange(state().isMainThread, onto == &state().main);
    work(context);
    state().running = outer;
    state().isMainThread = wasMain;
}

Source* nextSource() {
    Source* first = nullptr;
    for (Source* source : state().alive) {
        if (source->isArmed && source->suspensions == 0 && !source->isCancelled &&
            (!first || source->deadline < first->deadline))
            first = source;
    }
    return first;
}

// Runs the first thing that is due until a moment, if any.
bool runNext(std::int64_t until) {
    Source* const source = nextSource();
    const auto item = state().waiting.begin();
    const bool hasItem = item != state().waiting.end() && item->first <= until;
    const bool hasTick = source && source->deadline <= until;
    if (hasItem && (!hasTick || item->first <= source->deadline)) {
        const Item work = item->second;
        state().now = std::max(state().now, item->first);
        state().waiting.erase(item);
        run(work.queue, work.work, work.context);
        dispatch_release(work.queue);
        return true;
    }
    if (!hasTick)
        return false;
    state().now = std::max(state().now, source->deadline);
    source->deadline += source->interval;
    run(source->queue, source->handler, source->context);
    return true;
}

// One turn of the main loop: what is due first, and with a closure of the main queue all closures and ticks that stood
// in that queue by then, since dispatch empties it whatever the loop is told meanwhile.
bool runTurn(std::int64_t until) {
    const auto first = state().waiting.begin();
    const Source* const source = nextSource();
    if (first == state().waiting.end() || first->first > until || first->second.queue != &state().main ||
        (source && source->deadline < first->first))
        return runNext(until);
    state().now = std::max(state().now, first->first);
    std::vector<Item> due;
    for (auto item = first; item != state().waiting.end() && item->first <= state().now;) {
        const bool isMain = item->second.queue == &state().main;
        if (isMain)
            due.push_back(item->second);
        item = isMain ? state().waiting.erase(item) : std::next(item);
    }
    for (const Item& work : due) {
        run(work.queue, work.work, work.context);
        dispatch_release(work.queue);
    }
    while (Source* const tick = nextSource()) {
        if (tick->queue != &state().main || tick->deadline > state().now)
            break;
        tick->deadline += tick->interval;
        run(tick->queue, tick->handler, tick->context);
    }
    return true;
}

// What waits holds its queue.
void wait(std::int64_t deadline, dispatch_queue_t queue, void* context, dispatch_function_t work) {
    dispatch_retain(queue);
    state().waiting.emplace(deadline, Item{static_cast<Queue*>(queue), context, work});
}

std::int64_t nanoseconds(double seconds) {
    return static_cast<std::int64_t>(seconds * 1e9 + 0.5);
}

Source* sourceOf(dispatch_object_t object) {
    return static_cast<Source*>(static_cast<dispatch_source_t>(object));
}

bool isQueue(dispatch_object_t object) {
    return std::none_of(state().alive.begin(), state().alive.end(),
                        [object](Source* source) { return static_cast<dispatch_object_t>(source) == object; });
}

// The two that the system hands out have types of their own.
template <class Name>
Name named(Queue& queue) {
    return reinterpret_cast<Name>(static_cast<dispatch_queue_t>(&queue));
}

std::uintptr_t id(dispatch_object_t object) {
    return reinterpret_cast<std::uintptr_t>(object);
}

} // namespace

namespace darwin::queues {

void advance(double seconds) {
    const std::int64_t end = state().now + nanoseconds(seconds);
    while (runNext(end)) {
    }
    state().now = end;
}

const std::string& running() {
    return state().running;
}

std::int64_t now() {
    return state().now;
}

int sources() {
    return static_cast<int>(state().alive.size());
}

void fireNewest() {
    Source* const source = state().alive.back();
    run(source->queue, source->handler, source->context);
}

void setMainThread(bool isMain) {
    state().isMainThread = isMain;
}

void reset() {
    state().waiting.clear();
    state().now = 0;
    state().isMainThread = true;
    state().isStopped = false;
}

} // namespace darwin::queues

dispatch_queue_main_t mainQueueDouble() {
    return named<dispatch_queue_main_t>(state().main);
}

extern "C" {

const dispatch_source_type_s _dispatch_source_type_timer;

int pthread_main_np() {
    return state().isMainThread ? 1 : 0;
}

std::uint64_t clock_gettime_nsec_np(clockid_t) {
    return static_cast<std::uint64_t>(state().now);
}

void dispatch_retain(dispatch_object_t object) noexcept {
    ledger::take(objects, id(object));
}

void dispatch_release(dispatch_object_t object) noexcept {
    if (!ledger::give(objects, id(object)))
        return;
    if (isQueue(object)) {
        auto* const queue = static_cast<Queue*>(static_cast<dispatch_queue_t>(object));
        if (queue->target)
            dispatch_release(queue->target);
        if (!queue->isGlobal)
            delete queue;
        return;
    }
    Source* const source = sourceOf(object);
    if (source->suspensions > 0)
        ledger::error("a suspended source was released");
    state().alive.remove(source);
    if (source->finalizer)
        source->finalizer(source->context);
    delete source;
}

void dispatch_set_context(dispatch_object_t object, void* context) noexcept {
    sourceOf(object)->context = context;
}

void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer) noexcept {
    sourceOf(object)->finalizer = finalizer;
}

void dispatch_suspend(dispatch_object_t object) noexcept {
    ++sourceOf(object)->suspensions;
}

void dispatch_resume(dispatch_object_t object) noexcept {
    if (--sourceOf(object)->suspensions < 0)
        ledger::error("a source was resumed that was not suspended");
}

dispatch_queue_global_t dispatch_get_global_queue(std::intptr_t identifier, std::uintptr_t) noexcept {
    if (identifier != QOS_CLASS_BACKGROUND)
        ledger::error("another global queue than the background one");
    return named<dispatch_queue_global_t>(state().background);
}

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t) noexcept {
    auto* const queue = new Queue;
    queue->name = label;
    ledger::take(objects, id(queue));
    return queue;
}

dispatch_queue_t dispatch_queue_create_with_target(const char* label, dispatch_queue_attr_t attr,
                                                   dispatch_queue_t target) noexcept {
    auto* const queue = static_cast<Queue*>(dispatch_queue_create(label, attr));
    dispatch_retain(target);
    queue->target = static_cast<Queue*>(target);
    return queue;
}

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) noexcept {
    wait(state().now, queue, context, work);
}

void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context, dispatch_function_t work) noexcept {
    wait(static_cast<std::int64_t>(when), queue, context, work);
}

dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta) noexcept {
    return when + static_cast<dispatch_time_t>(state().now + delta);
}

dispatch_source_t dispatch_source_create(dispatch_source_type_t, std::uintptr_t, std::uintptr_t,
                                         dispatch_queue_t queue) noexcept {
    auto* const source = new Source;
    source->queue = static_cast<Queue*>(queue);
    ledger::take(objects, id(source));
    state().alive.push_back(source);
    return source;
}

void dispatch_source_set_event_handler_f(dispatch_source_t source, dispatch_function_t handler) noexcept {
    sourceOf(source)->handler = handler;
}

void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, std::uint64_t interval,
                               std::uint64_t) noexcept {
    Source* const timer = sourceOf(source);
    timer->isArmed = true;
    timer->deadline = static_cast<std::int64_t>(start);
    timer->interval = static_cast<std::int64_t>(interval);
}

void dispatch_source_cancel(dispatch_source_t source) noexcept {
    sourceOf(source)->isCancelled = true;
}

const CFRunLoopMode kCFRunLoopDefaultMode = constantString("kCFRunLoopDefaultMode");

CFRunLoopRef CFRunLoopGetMain() {
    return nullptr;
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode, CFTimeInterval seconds, Boolean returnAfterSourceHandled) {
    const std::int64_t end = state().now + nanoseconds(seconds);
    while (runTurn(end)) {
        if (std::exchange(state().isStopped, false))
            return kCFRunLoopRunStopped;
        if (returnAfterSourceHandled)
            return kCFRunLoopRunHandledSource;
    }
    state().now = end;
    return kCFRunLoopRunTimedOut;
}

void CFRunLoopStop(CFRunLoopRef) {
    state().isStopped = true;
}

} // extern "C"
