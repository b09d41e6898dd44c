// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Queues.h"

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
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
    bool isBusy = false;     ///< a serial one: something of it runs
};

struct Source : dispatch_source_s {
    Queue* queue = nullptr;
    void* context = nullptr;
    dispatch_function_t handler = nullptr;
    dispatch_function_t finalizer = nullptr;
    int suspensions = 1;
    bool isCancelled = false;
    bool isArmed = false;
    bool isRunning = false;  ///< its handler does not overlap itself
    bool isReleased = false; ///< the last reference went while its handler ran
    std::int64_t deadline = 0;
    std::int64_t interval = 0;
    std::uintptr_t levels = 0; ///< of memory pressure that it tells of
};

// Something to run: of a source its handler.
struct Item {
    Queue* queue;
    void* context;
    dispatch_function_t work;
    Source* source = nullptr;
    bool isFinalizer = false;
};

struct State {
    State() {
        main.name = "main";
        main.isGlobal = true;
        background.name = "background";
        background.isGlobal = true;
    }

    std::mutex lock;
    std::condition_variable changed;
    Queue main;
    Queue background;
    std::multimap<std::int64_t, Item> waiting;
    std::list<Source*> alive;
    std::atomic<std::int64_t> now{0};
    int threads = 0; // that serve
    int active = 0;  // of them run something
    int runs = 0;
    bool isOver = false; // the threads end
    bool isStopped = false;
};

thread_local std::string runningQueue;
thread_local bool isMainThread = false;

State& state() {
    static State& instance = *new State;
    return instance;
}

using Guard = std::unique_lock<std::mutex>;

const Queue& targetOf(const Queue& queue) {
    return queue.target ? *queue.target : queue;
}

bool isMain(const Queue& queue) {
    return &targetOf(queue) == &state().main;
}

bool isFree(const Queue& queue) {
    return !queue.isBusy;
}

bool mayRunOnThreads(const Queue& queue) {
    return isFree(queue) && !isMain(queue);
}

bool mayRunInMainLoop(const Queue& queue) {
    return isFree(queue) && (isMain(queue) || state().threads == 0);
}

bool isDirectlyMain(const Queue& queue) {
    return &queue == &state().main;
}

bool ticks(const Source& source) {
    return source.isArmed && source.suspensions == 0 && !source.isCancelled && !source.isRunning;
}

template <class May>
auto firstItem(May may) {
    return std::find_if(state().waiting.begin(), state().waiting.end(),
                        [&may](const auto& entry) { return may(*entry.second.queue); });
}

template <class May>
Source* firstTick(May may) {
    Source* first = nullptr;
    for (Source* source : state().alive) {
        if (ticks(*source) && may(*source->queue) && (!first || source->deadline < first->deadline))
            first = source;
    }
    return first;
}

// What was due at a moment is on its way from now on.
Item began(std::int64_t due, const Item& item) {
    state().now = std::max<std::int64_t>(state().now, due);
    item.queue->isBusy = !item.queue->isGlobal;
    ++state().runs;
    return item;
}

Item takeItem(std::multimap<std::int64_t, Item>::iterator item) {
    const auto [due, taken] = *item;
    state().waiting.erase(item);
    return began(due, taken);
}

Item takeTick(Source& source) {
    const std::int64_t due = source.deadline;
    // Ticks that were missed merge into this one.
    const std::int64_t missed = std::max<std::int64_t>(state().now - due, 0) / source.interval;
    source.deadline += (missed + 1) * source.interval;
    source.isRunning = true;
    return began(due, {.queue = source.queue, .context = source.context, .work = source.handler, .source = &source});
}

// What is due first until a moment on the queues that `may` names.
template <class May>
std::optional<Item> take(std::int64_t until, May may) {
    const auto item = firstItem(may);
    Source* const source = firstTick(may);
    const bool hasItem = item != state().waiting.end() && item->first <= until;
    const bool hasTick = source && source->deadline <= until;
    if (hasItem && (!hasTick || item->first <= source->deadline))
        return takeItem(item);
    return hasTick ? std::optional(takeTick(*source)) : std::nullopt;
}

template <class May>
bool isDue(May may) {
    const auto item = firstItem(may);
    const Source* const source = firstTick(may);
    return (item != state().waiting.end() && item->first <= state().now) || (source && source->deadline <= state().now);
}

// What waits holds its queue.
void wait(std::int64_t deadline, const Item& item) {
    dispatch_retain(item.queue);
    const Guard guard(state().lock);
    state().waiting.emplace(deadline, item);
    state().changed.notify_all();
}

// As the system does with a source of which nothing runs any more: the finalizer comes on the queue.
void finish(Source* source) {
    if (source->finalizer)
        wait(state().now,
             {.queue = source->queue, .context = source->context, .work = source->finalizer, .isFinalizer = true});
    dispatch_release(source->queue);
    delete source;
}

void call(const Queue& queue, dispatch_function_t work, void* context) {
    const Queue& onto = targetOf(queue);
    const std::string outer = std::exchange(runningQueue, onto.name);
    const bool wasMain = std::exchange(isMainThread, isMain(queue));
    work(context);
    runningQueue = outer;
    isMainThread = wasMain;
}

void run(const Item& item) {
    call(*item.queue, item.work, item.context);
    bool isLast = false;
    {
        const Guard guard(state().lock);
        item.queue->isBusy = false;
        if (item.source) {
            item.source->isRunning = false;
            isLast = item.source->isReleased;
        }
        state().changed.notify_all();
    }
    if (isLast)
        finish(item.source);
    else if (!item.source)
        dispatch_release(item.queue);
}

template <class May>
bool runNext(std::int64_t until, May may) {
    std::optional<Item> item;
    {
        const Guard guard(state().lock);
        item = take(until, may);
    }
    if (item)
        run(*item);
    return item.has_value();
}

// A closure of the main queue, and all others that stand in it by now, in their order.
std::vector<Item> drained(const Item& first) {
    std::vector<Item> all{first};
    for (auto item = firstItem(&isDirectlyMain); item != state().waiting.end() && item->first <= state().now;
         item = firstItem(&isDirectlyMain))
        all.push_back(takeItem(item));
    return all;
}

std::optional<Item> dueMainTick() {
    const Guard guard(state().lock);
    Source* const tick = firstTick(&isDirectlyMain);
    return tick && tick->deadline <= state().now ? std::optional(takeTick(*tick)) : std::nullopt;
}

// One turn of the main loop: what is due first, and with a closure of the main queue all closures and ticks that stood
// in that queue by then, since dispatch empties it whatever the loop is told meanwhile.
bool runTurn(std::int64_t until) {
    std::optional<Item> first;
    std::vector<Item> closures;
    {
        const Guard guard(state().lock);
        first = take(until, &mayRunInMainLoop);
        if (first && !first->source && isDirectlyMain(*first->queue))
            closures = drained(*first);
    }
    if (first && closures.empty())
        run(*first);
    for (const Item& closure : closures)
        run(closure);
    if (!closures.empty()) {
        while (const std::optional<Item> tick = dueMainTick())
            run(*tick);
    }
    return first.has_value();
}

void serve() {
    Guard guard(state().lock);
    for (;;) {
        if (const std::optional<Item> item = take(state().now, &mayRunOnThreads)) {
            ++state().active;
            guard.unlock();
            run(*item);
            guard.lock();
            --state().active;
            state().changed.notify_all();
        } else if (state().isOver) {
            return;
        } else {
            state().changed.wait(guard);
        }
    }
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
    {
        const Guard guard(state().lock);
        if (state().threads > 0) {
            state().now += nanoseconds(seconds);
            state().changed.notify_all();
            return;
        }
    }
    const std::int64_t end = state().now + nanoseconds(seconds);
    while (runNext(end, &isFree)) {
    }
    state().now = end;
}

Threads::Threads(int count) {
    {
        const Guard guard(state().lock);
        state().threads = count;
        state().isOver = false;
    }
    for (int index = 0; index < count; ++index)
        threads_.emplace_back(&serve);
}

Threads::~Threads() {
    {
        const Guard guard(state().lock);
        state().isOver = true;
        state().changed.notify_all();
    }
    for (std::thread& thread : threads_)
        thread.join();
    const Guard guard(state().lock);
    state().threads = 0;
}

void settle() {
    Guard guard(state().lock);
    state().changed.wait(guard, [] { return state().active == 0 && !isDue(&mayRunOnThreads); });
}

const std::string& running() {
    return runningQueue;
}

std::int64_t now() {
    return state().now;
}

int sources() {
    const Guard guard(state().lock);
    return static_cast<int>(state().alive.size());
}

int ticking() {
    const Guard guard(state().lock);
    return static_cast<int>(std::count_if(state().alive.begin(), state().alive.end(),
                                          [](const Source* source) { return ticks(*source) || source->isRunning; }));
}

int runs() {
    const Guard guard(state().lock);
    return state().runs;
}

int waiting() {
    const Guard guard(state().lock);
    return static_cast<int>(state().waiting.size());
}

void fireNewest() {
    const Source* const source = state().alive.back();
    call(*source->queue, source->handler, source->context);
}

void pressMemory(std::uintptr_t level) {
    const Guard guard(state().lock);
    for (Source* const source : state().alive) {
        if ((source->levels & level) == 0 || source->suspensions > 0 || source->isCancelled || source->isRunning)
            continue;
        source->isRunning = true;
        state().waiting.emplace(
            state().now,
            Item{.queue = source->queue, .context = source->context, .work = source->handler, .source = source});
    }
    state().changed.notify_all();
}

void setMainThread(bool isMain) {
    isMainThread = isMain;
}

void finalize() {
    const auto next = [] {
        const Guard guard(state().lock);
        const auto item = std::find_if(state().waiting.begin(), state().waiting.end(),
                                       [](const auto& entry) { return entry.second.isFinalizer; });
        return item == state().waiting.end() ? std::nullopt : std::optional(takeItem(item));
    };
    while (const std::optional<Item> finalizer = next())
        run(*finalizer);
}

void reset() {
    const Guard guard(state().lock);
    state().waiting.clear();
    state().now = 0;
    state().runs = 0;
    state().isStopped = false;
    isMainThread = true;
}

} // namespace darwin::queues

dispatch_queue_main_t mainQueueDouble() {
    return named<dispatch_queue_main_t>(state().main);
}

extern "C" {

const dispatch_source_type_s _dispatch_source_type_timer;
const dispatch_source_type_s _dispatch_source_type_memorypressure;

int pthread_main_np() {
    return isMainThread ? 1 : 0;
}

std::uint64_t clock_gettime_nsec_np(clockid_t) {
    return static_cast<std::uint64_t>(state().now.load());
}

void dispatch_retain(dispatch_object_t object) noexcept {
    ledger::take(objects, id(object));
}

void dispatch_release(dispatch_object_t object) noexcept {
    if (!ledger::give(objects, id(object)))
        return;
    Guard guard(state().lock);
    const bool isOneOfQueues = isQueue(object);
    guard.unlock();
    if (isOneOfQueues) {
        auto* const queue = static_cast<Queue*>(static_cast<dispatch_queue_t>(object));
        if (queue->target)
            dispatch_release(queue->target);
        if (!queue->isGlobal)
            delete queue;
        return;
    }
    Source* const source = sourceOf(object);
    guard.lock();
    if (source->suspensions > 0)
        ledger::error("a suspended source was released");
    state().alive.remove(source);
    source->isReleased = true;
    const bool isRunning = source->isRunning; // then it ends with its handler
    guard.unlock();
    if (!isRunning)
        finish(source);
}

void dispatch_set_context(dispatch_object_t object, void* context) noexcept {
    const Guard guard(state().lock);
    sourceOf(object)->context = context;
}

void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer) noexcept {
    const Guard guard(state().lock);
    sourceOf(object)->finalizer = finalizer;
}

void dispatch_suspend(dispatch_object_t object) noexcept {
    const Guard guard(state().lock);
    ++sourceOf(object)->suspensions;
}

void dispatch_resume(dispatch_object_t object) noexcept {
    const Guard guard(state().lock);
    if (--sourceOf(object)->suspensions < 0)
        ledger::error("a source was resumed that was not suspended");
    state().changed.notify_all();
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
    wait(state().now, {.queue = static_cast<Queue*>(queue), .context = context, .work = work});
}

void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context, dispatch_function_t work) noexcept {
    wait(static_cast<std::int64_t>(when), {.queue = static_cast<Queue*>(queue), .context = context, .work = work});
}

dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta) noexcept {
    return when + static_cast<dispatch_time_t>(state().now.load() + delta);
}

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, std::uintptr_t, std::uintptr_t mask,
                                         dispatch_queue_t queue) noexcept {
    const bool tellsLevels = type == DISPATCH_SOURCE_TYPE_MEMORYPRESSURE;
    if (tellsLevels && failures::due("dispatch_source_create"))
        return nullptr;
    if (!tellsLevels && mask != 0)
        ledger::error("a timer that the system may not put off to save power");
    auto* const source = new Source;
    source->levels = tellsLevels ? mask : 0;
    source->queue = static_cast<Queue*>(queue);
    dispatch_retain(queue);
    ledger::take(objects, id(source));
    const Guard guard(state().lock);
    state().alive.push_back(source);
    return source;
}

void dispatch_source_set_event_handler_f(dispatch_source_t source, dispatch_function_t handler) noexcept {
    const Guard guard(state().lock);
    sourceOf(source)->handler = handler;
}

void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, std::uint64_t interval,
                               std::uint64_t) noexcept {
    const Guard guard(state().lock);
    Source* const timer = sourceOf(source);
    timer->isArmed = true;
    timer->deadline = static_cast<std::int64_t>(start);
    timer->interval = static_cast<std::int64_t>(interval);
}

void dispatch_source_cancel(dispatch_source_t source) noexcept {
    const Guard guard(state().lock);
    sourceOf(source)->isCancelled = true;
}

const CFRunLoopMode kCFRunLoopDefaultMode = constantString("kCFRunLoopDefaultMode");

CFRunLoopRef CFRunLoopGetMain() {
    return nullptr;
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode, CFTimeInterval seconds, Boolean returnAfterSourceHandled) {
    const std::int64_t end = state().now + nanoseconds(seconds);
    for (;;) {
        // With threads another one moves the clock on.
        Guard guard(state().lock);
        const bool hasThreads = state().threads > 0;
        if (hasThreads)
            state().changed.wait(guard,
                                 [end] { return state().isStopped || state().now >= end || isDue(&mayRunInMainLoop); });
        guard.unlock();
        const bool hasRun = runTurn(hasThreads ? state().now.load() : end);
        guard.lock();
        if (std::exchange(state().isStopped, false))
            return kCFRunLoopRunStopped;
        if (hasRun && returnAfterSourceHandled)
            return kCFRunLoopRunHandledSource;
        if (!hasRun && (!hasThreads || state().now >= end)) {
            state().now = end;
            return kCFRunLoopRunTimedOut;
        }
    }
}

void CFRunLoopStop(CFRunLoopRef) {
    const Guard guard(state().lock);
    state().isStopped = true;
    state().changed.notify_all();
}

} // extern "C"
