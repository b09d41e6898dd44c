// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/BackgroundPool.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/linux/common/MonotonicTime.h>
#include <SentrelKit/platform/linux/common/OwnThread.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <limits>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int backgroundNiceness = 10;

constexpr std::chrono::seconds idleTime{2}; // a worker without work ends after it

constexpr std::uint64_t wakerId = 0; // watches count from 1

constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();

// Each thread has a niceness; the process's own is that of its first one. Nobody gets ahead of it here, and a thread
// that was started by a nicer one stays as that is.
void lowerPriority() {
    const auto thread = static_cast<id_t>(syscall(SYS_gettid));
    const int host = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    const int inherited = getpriority(PRIO_PROCESS, thread);
    setpriority(PRIO_PROCESS, thread, std::max({backgroundNiceness, host, inherited}));
}

void enter() {
    lowerPriority();
    pthread_setname_np(pthread_self(), "sentrel-bg");
}

} // namespace

BackgroundPool::BackgroundPool(RunLater runLater) : runLater_(std::move(runLater)) {}

void BackgroundPool::stop() {
    const LockScope scope(lock_);
    stopping_ = true;
    work_.notify_all();
    keeper_.notify_all();
    if (poller_.waker)
        eventfd_write(poller_.waker.get(), 1);
    setAlarm(1);
    while (threads_ > 0)
        ended_.wait(lock_);
}

std::shared_ptr<BackgroundPool::Lane> BackgroundPool::makeLane(bool serial) {
    auto lane = std::make_shared<Lane>(serial);
    const LockScope scope(lock_);
    lanes_.push_back(lane);
    return lane;
}

void BackgroundPool::close(Lane& lane) {
    const LockScope scope(lock_);
    lane.closed = true;
    std::erase_if(lanes_, [](const auto& each) { return each->closed && !each->busy && each->queue.empty(); });
}

void BackgroundPool::push(Lane& lane, Work work) {
    pushAfter(lane, 0, std::move(work));
}

void BackgroundPool::pushAfter(Lane& lane, std::int64_t nanoseconds, Work work) {
    Shortage shortage;
    {
        const LockScope scope(lock_);
        lane.queue.pushAt(monotonicDeadline(nanoseconds), std::move(work));
        shortage = use();
    }
    meet(shortage);
}

void BackgroundPool::resume(Lane& lane, const std::shared_ptr<TimedQueue::Ticker>& ticker) {
    Shortage shortage;
    {
        const LockScope scope(lock_);
        tickQueue(lane).resume(ticker, monotonicNow());
        shortage = use();
    }
    meet(shortage);
}

void BackgroundPool::suspend(Lane& lane, const std::shared_ptr<TimedQueue::Ticker>& ticker) {
    const LockScope scope(lock_);
    tickQueue(lane).suspend(ticker);
}

std::shared_ptr<BackgroundPool::Watch> BackgroundPool::watch(int descriptor, std::uint32_t events,
                                                             std::function<void()> ready) {
    auto watch = std::make_shared<Watch>();
    watch->descriptor = descriptor;
    watch->events = events;
    watch->ready = std::move(ready);
    const LockScope scope(lock_);
    watch->id = ++lastWatch_;
    // Without a poller the watch begins as soon as there is one.
    if (openPoller() ? !arm(*watch, EPOLL_CTL_ADD) : fcntl(descriptor, F_GETFD) < 0)
        return nullptr;
    watches_.emplace(watch->id, watch);
    return watch;
}

void BackgroundPool::endWatch(Watch& watch) {
    const LockScope scope(lock_);
    watch.ended = true;
    if (watches_.erase(watch.id) != 0 && poller_.events)
        epoll_ctl(poller_.events.get(), EPOLL_CTL_DEL, watch.descriptor, nullptr);
}

void BackgroundPool::retry() {
    Shortage shortage;
    {
        const LockScope scope(lock_);
        retryAsked_ = false;
        shortage = use();
    }
    meet(shortage);
}

void BackgroundPool::afterForkInChild() {
    const LockScope scope(lock_);
    ++term_;
    threads_ = keepers_ = blocked_ = workers_ = idleWorkers_ = 0;
    kept_ = waiting_ = hasStandIn_ = workerComes_ = retryAsked_ = false;
    callBound_.reset();
    // The poller is shared with the parent, and so are the descriptors it watches: what arrives there is the parent's.
    poller_ = Poller();
    for (const auto& [id, watch] : watches_)
        watch->ended = true;
    watches_.clear();
    calls_.abandonJobs();
    for (const auto& lane : lanes_) {
        lane->busy = false;
        lane->queue.abandonJobs();
    }
}

// Something was added: whoever shall serve it is there, or looks again.
BackgroundPool::Shortage BackgroundPool::use() {
    Shortage shortage;
    if (stopping_)
        return shortage;
    openPoller();
    if (needsWorker(monotonicNow()))
        callWorker();
    if (keepers_ == 0)
        startKeeper();
    hurryKeeper();
    shortage.report = std::exchange(report_, {});
    shortage.runLater = keepers_ == 0 && !std::exchange(retryAsked_, true);
    return shortage;
}

void BackgroundPool::meet(const Shortage& shortage) {
    if (!shortage.report.empty())
        System_error("%s", shortage.report.c_str());
    if (shortage.runLater && runLater_)
        runLater_(retryInterval, [pool = weak_from_this()] {
            if (const auto self = pool.lock())
                self->retry();
        });
}

void BackgroundPool::report() {
    const std::string text = std::exchange(report_, {});
    lock_.unlock();
    System_error("%s", text.c_str());
    lock_.lock();
}

// Keeps what is to be told of a shortage, once until it is over.
bool BackgroundPool::had(bool isHad, bool& isShort, const char* what) {
    if (!isHad && !isShort)
        report_ += std::string("Error: no ") + what + " for the background queue -- " + System_getLastError() + "\n";
    isShort = !isHad;
    return isHad;
}

bool BackgroundPool::Poller::open() noexcept {
    events.reset(epoll_create1(EPOLL_CLOEXEC));
    waker.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    alarm.reset(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = wakerId;
    if (waker && alarm && epoll_ctl(events.get(), EPOLL_CTL_ADD, waker.get(), &event) == 0)
        return true;
    const int error = errno;
    *this = Poller();
    errno = error;
    return false;
}

bool BackgroundPool::openPoller() {
    if (poller_.events)
        return true;
    if (!had(poller_.open(), shortOfDescriptors_, "descriptor"))
        return false;
    for (const auto& [id, watch] : watches_)
        arm(*watch, EPOLL_CTL_ADD);
    return true;
}

bool BackgroundPool::arm(const Watch& watch, int operation) {
    epoll_event event{};
    event.events = watch.events | EPOLLONESHOT;
    event.data.u64 = watch.id;
    return epoll_ctl(poller_.events.get(), operation, watch.descriptor, &event) == 0;
}

bool BackgroundPool::startThread(void (BackgroundPool::*role)()) {
    const bool isStarted = runOnOwnThread([self = shared_from_this(), role] { (*self.*role)(); });
    if (!had(isStarted, shortOfThreads_, "thread"))
        return false;
    ++threads_;
    return true;
}

// The calling thread is about to end.
void BackgroundPool::leave() {
    --threads_;
    ended_.notify_all();
}

// Runs a job outside the lock. False if the job forked and this is the child, which has given it up.
bool BackgroundPool::run(const TimedQueue::Job& job) {
    const unsigned process = ForkGate::generation();
    lock_.unlock();
    job.run();
    lock_.lock();
    return process == ForkGate::generation();
}

void BackgroundPool::startKeeper() {
    if (startThread(&BackgroundPool::keepTime))
        ++keepers_;
}

void BackgroundPool::keepTime() {
    enter();
    lock_.lock();
    const unsigned process = ForkGate::generation();
    while (!stopping_ && process == ForkGate::generation()) {
        if (!std::exchange(kept_, true))
            keep(++term_);
        else if (!hasStandIn_)
            standIn();
        else
            break;
    }
    if (process == ForkGate::generation()) {
        --keepers_;
        leave();
    }
    lock_.unlock();
}

// Keeps the time until another thread takes over.
void BackgroundPool::keep(std::uint64_t term) {
    while (!stopping_ && term == term_) {
        if (!report_.empty())
            report();
        collect();
        if (stopping_)
            return;
        const std::int64_t now = monotonicNow();
        if (needsWorker(now))
            callWorker();
        if (auto job = calls_.take(now))
            call(std::move(job), term);
    }
}

// Waits for the next deadline or descriptor, and takes what the descriptors have to tell.
void BackgroundPool::collect() {
    const std::int64_t now = monotonicNow();
    const std::optional<std::int64_t> deadline = keepersDeadline(now);
    const int timeout = pollTimeout(deadline, now);
    if (timeout != 0)
        setAlarm(0);
    keeperDeadline_ = deadline.value_or(never);
    waiting_ = true;
    if (poller_.events) {
        const int poller = poller_.events.get();
        std::array<epoll_event, 16> events{};
        lock_.unlock();
        const int count = epoll_wait(poller, events.data(), static_cast<int>(events.size()), timeout);
        lock_.lock();
        for (int i = 0; i < count; ++i)
            deliver(events[static_cast<std::size_t>(i)].data.u64);
    } else {
        if (timeout != 0)
            keeper_.wait_until(lock_, SteadyClock::now() + std::chrono::milliseconds(timeout));
        openPoller();
    }
    waiting_ = false;
}

// Runs a tick or a watch's call; meanwhile another thread stands in.
void BackgroundPool::call(std::optional<TimedQueue::Job> job, std::uint64_t term) {
    if (keepers_ - blocked_ < 2 && keepers_ < maximumKeepers)
        startKeeper();
    callBound_ = monotonicDeadline(grace);
    setAlarm(grace);
    if (!run(*job))
        return;
    if (term == term_)
        callBound_.reset();
    else
        --blocked_;
    calls_.finished(*job);
    hurryKeeper();
    lock_.unlock();
    job.reset(); // what the call holds is released outside the lock
    lock_.lock();
}

// Sleeps until the keeper's call takes too long, and relieves it then.
void BackgroundPool::standIn() {
    hasStandIn_ = true;
    if (poller_.alarm) {
        const int alarm = poller_.alarm.get();
        lock_.unlock();
        std::uint64_t times = 0;
        static_cast<void>(!read(alarm, &times, sizeof times));
        lock_.lock();
    } else {
        keeper_.wait_until(lock_, SteadyClock::now() + std::chrono::nanoseconds(retryInterval));
    }
    hasStandIn_ = false;
    if (!callBound_ || monotonicNow() < *callBound_)
        return;
    callBound_.reset();
    ++blocked_;
    kept_ = false;
}

// 0 turns the alarm off.
void BackgroundPool::setAlarm(std::int64_t nanoseconds) {
    itimerspec time{};
    time.it_value.tv_nsec = nanoseconds;
    if (poller_.alarm)
        timerfd_settime(poller_.alarm.get(), 0, &time, nullptr);
}

// The keeper looks again if there is something to do before its wait ends.
void BackgroundPool::hurryKeeper() {
    if (!waiting_)
        return;
    const auto next = keepersDeadline(monotonicNow());
    if (!next || *next >= keeperDeadline_)
        return;
    keeperDeadline_ = *next;
    if (poller_.waker)
        eventfd_write(poller_.waker.get(), 1);
    keeper_.notify_all();
}

// Closures that are due already are the workers', who have been called.
std::optional<std::int64_t> BackgroundPool::keepersDeadline(std::int64_t now) const {
    std::optional<std::int64_t> earliest = calls_.nextDeadline();
    const auto consider = [&](std::optional<std::int64_t> deadline) {
        if (deadline && (!earliest || *deadline < *earliest))
            earliest = deadline;
    };
    for (const auto& lane : lanes_)
        if (!lane->busy)
            consider(lane->queue.nextDeadlineAfter(now));
    if (!poller_.events || needsWorker(now))
        consider(now + retryInterval);
    return earliest;
}

void BackgroundPool::deliver(std::uint64_t id) {
    if (id == wakerId) {
        eventfd_t count = 0;
        eventfd_read(poller_.waker.get(), &count);
        return;
    }
    const auto entry = watches_.find(id);
    if (entry == watches_.end())
        return;
    Watch& watch = *entry->second;
    if (std::exchange(watch.running, true))
        watch.again = true;
    else
        calls_.push(monotonicNow(), [this, served = entry->second] { serve(*served); });
}

// Calls back for one event, and once more for those that came meanwhile.
void BackgroundPool::serve(Watch& watch) {
    LockScope scope(lock_);
    do {
        watch.again = false;
        if (watch.ended)
            return;
        // Armed before the callback looks: some descriptors tell of a change only while somebody waits.
        arm(watch, EPOLL_CTL_MOD);
        lock_.unlock();
        watch.ready();
        lock_.lock();
    } while (watch.again);
    watch.running = false;
}

void BackgroundPool::work() {
    enter();
    lock_.lock();
    const unsigned process = ForkGate::generation();
    bool rested = false;
    while (!stopping_) {
        workerComes_ = false;
        if (std::optional<Task> task = take(monotonicNow())) {
            rested = false;
            if (needsWorker(monotonicNow()))
                callWorker();
            if (!run(task->job))
                break;
            finish(*task);
            lock_.unlock();
            task.reset(); // what the closure holds is released outside the lock
            lock_.lock();
        } else if (rested) {
            break;
        } else {
            ++idleWorkers_;
            rested = work_.wait_until(lock_, SteadyClock::now() + idleTime) == std::cv_status::timeout;
            --idleWorkers_;
        }
    }
    if (process == ForkGate::generation()) {
        --workers_;
        leave();
    }
    lock_.unlock();
}

std::optional<BackgroundPool::Task> BackgroundPool::take(std::int64_t now) {
    std::shared_ptr<Lane> lane = dueLane(now);
    if (!lane)
        return std::nullopt;
    std::optional<TimedQueue::Job> job = lane->queue.take(now);
    lane->busy = lane->serial;
    return Task{std::move(*job), std::move(lane)};
}

void BackgroundPool::finish(Task& task) {
    task.lane->queue.finished(task.job);
    task.lane->busy = false;
    if (task.lane->closed && task.lane->queue.empty())
        std::erase(lanes_, task.lane);
    hurryKeeper();
}

// The lane whose closure was due first.
std::shared_ptr<BackgroundPool::Lane> BackgroundPool::dueLane(std::int64_t now) const {
    std::shared_ptr<Lane> first;
    std::int64_t earliest = now;
    for (const auto& lane : lanes_) {
        if (lane->busy)
            continue;
        const auto deadline = lane->queue.nextDeadline();
        if (deadline && (*deadline < earliest || (!first && *deadline == earliest))) {
            first = lane;
            earliest = *deadline;
        }
    }
    return first;
}

// True if there is a closure to run and a worker to be had for it.
bool BackgroundPool::needsWorker(std::int64_t now) const {
    return !workerComes_ && (idleWorkers_ > 0 || workers_ < maximumWorkers) && dueLane(now) != nullptr;
}

void BackgroundPool::callWorker() {
    if (idleWorkers_ > 0) {
        work_.notify_one();
        workerComes_ = true;
    } else if (startThread(&BackgroundPool::work)) {
        ++workers_;
        workerComes_ = true;
    }
}

} // namespace sentrel::platform
