#include <SentrelKit/platform/linux/BackgroundPool.h>

#include <SentrelKit/platform/linux/MonotonicTime.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <limits>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <system_error>
#include <utility>

namespace sentrel::platform {

namespace {

// One worker waits; the others are for samples that run at the same time and for a slow look-up beside them. Workers
// start only when all others are busy.
constexpr std::size_t maximumWorkers = 8;

constexpr int backgroundNiceness = 10;

constexpr std::uint64_t wakerId = 0; // watches count from 1

constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();

// What a forked child cannot end properly, only let go: threads that exist in the parent alone.
std::vector<std::thread>& abandonedWorkers() {
    static std::vector<std::thread>& workers = *new std::vector<std::thread>;
    return workers;
}

// A worker takes none of the host's signals.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &previous_);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t previous_{};
};

} // namespace

BackgroundPool::BackgroundPool() {
    watchLane_ = makeLane(false);
}

void BackgroundPool::stop() {
    std::vector<std::thread> workers;
    {
        const LockScope scope(lock_);
        stopping_ = true;
        workers.swap(workers_);
        changed_.notify_all();
        if (waker_)
            eventfd_write(waker_.get(), 1);
    }
    for (std::thread& worker : workers)
        worker.join();
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
    const LockScope scope(lock_);
    lane.queue.push(monotonicNow(), std::move(work));
    use();
}

void BackgroundPool::pushAfter(Lane& lane, std::int64_t nanoseconds, Work work) {
    const LockScope scope(lock_);
    lane.queue.pushAt(monotonicDeadline(nanoseconds), std::move(work));
    use();
}

void BackgroundPool::resume(Lane& lane, const std::shared_ptr<TimedQueue::Ticker>& ticker) {
    const LockScope scope(lock_);
    lane.queue.resume(ticker, monotonicNow());
    use();
}

void BackgroundPool::suspend(Lane& lane, const std::shared_ptr<TimedQueue::Ticker>& ticker) {
    const LockScope scope(lock_);
    lane.queue.suspend(ticker);
}

std::shared_ptr<BackgroundPool::Watch> BackgroundPool::watch(int descriptor, std::uint32_t events,
                                                             std::function<void()> ready) {
    auto watch = std::make_shared<Watch>();
    watch->descriptor = descriptor;
    watch->events = events;
    watch->ready = std::move(ready);
    const LockScope scope(lock_);
    openPoller();
    watch->id = ++lastWatch_;
    if (!arm(*watch, EPOLL_CTL_ADD))
        return nullptr;
    watches_.emplace(watch->id, watch);
    return watch;
}

void BackgroundPool::endWatch(Watch& watch) {
    const LockScope scope(lock_);
    watch.ended = true;
    if (watches_.erase(watch.id) != 0 && poller_)
        epoll_ctl(poller_.get(), EPOLL_CTL_DEL, watch.descriptor, nullptr);
}

void BackgroundPool::afterForkInChild() {
    const LockScope scope(lock_);
    for (std::thread& worker : workers_)
        abandonedWorkers().push_back(std::move(worker));
    workers_.clear();
    sleepers_ = 0;
    led_ = false;
    // The poller is shared with the parent, and so are the descriptors it watches: what arrives there is the parent's.
    poller_.reset();
    waker_.reset();
    watches_.clear();
    for (const auto& lane : lanes_)
        lane->busy = false;
}

void BackgroundPool::openPoller() {
    if (poller_)
        return;
    poller_.reset(epoll_create1(EPOLL_CLOEXEC));
    waker_.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = wakerId;
    epoll_ctl(poller_.get(), EPOLL_CTL_ADD, waker_.get(), &event);
}

// Something was added: whoever waits looks again.
void BackgroundPool::use() {
    openPoller();
    if (!led_)
        callWorker();
    else
        hurryLeader();
}

// The leader looks again if there is something to do before its wait ends.
void BackgroundPool::hurryLeader() {
    const auto next = nextDeadline(monotonicNow());
    if (led_ && next && *next < leaderDeadline_)
        eventfd_write(waker_.get(), 1);
}

void BackgroundPool::callWorker() {
    if (sleepers_ > 0)
        changed_.notify_one();
    else if (workers_.size() < maximumWorkers && !stopping_)
        startWorker();
}

void BackgroundPool::startWorker() {
    const AllSignalsBlocked blocked;
    try {
        workers_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        // No thread can be had now; the next use asks again.
    }
}

void BackgroundPool::work() {
    setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), backgroundNiceness);
    pthread_setname_np(pthread_self(), "sentrel-bg");
    lock_.lock();
    while (!stopping_) {
        if (std::optional<Task> task = take()) {
            if (!led_)
                callWorker();
            lock_.unlock();
            task->job.run();
            lock_.lock();
            finish(*task);
            lock_.unlock();
            task.reset(); // what the closure holds is released outside the lock
            lock_.lock();
        } else if (!led_) {
            lead();
        } else {
            ++sleepers_;
            changed_.wait(lock_);
            --sleepers_;
        }
    }
    lock_.unlock();
}

std::optional<BackgroundPool::Task> BackgroundPool::take() {
    const std::int64_t now = monotonicNow();
    for (const auto& lane : lanes_) {
        if (lane->busy)
            continue;
        if (std::optional<TimedQueue::Job> job = lane->queue.take(now)) {
            lane->busy = lane->serial;
            return Task{std::move(*job), lane};
        }
    }
    return std::nullopt;
}

void BackgroundPool::finish(Task& task) {
    task.lane->queue.finished(task.job);
    task.lane->busy = false;
    if (task.lane->closed && task.lane->queue.empty())
        std::erase(lanes_, task.lane);
    hurryLeader();
}

std::optional<std::int64_t> BackgroundPool::nextDeadline(std::int64_t now) const {
    std::optional<std::int64_t> earliest;
    for (const auto& lane : lanes_) {
        if (lane->busy)
            continue;
        const auto next = lane->queue.nextDeadline();
        if (next && (!earliest || *next < *earliest))
            earliest = next;
    }
    return earliest;
}

// Waits for the next deadline or descriptor. Called with the lock held, which is free during the wait.
void BackgroundPool::lead() {
    const std::int64_t now = monotonicNow();
    const std::optional<std::int64_t> deadline = nextDeadline(now);
    const int timeout = pollTimeout(deadline, now);
    const int poller = poller_.get();
    std::array<epoll_event, 16> events{};
    led_ = true;
    leaderDeadline_ = deadline.value_or(never);
    lock_.unlock();
    const int count = epoll_wait(poller, events.data(), static_cast<int>(events.size()), timeout);
    lock_.lock();
    led_ = false;
    for (int i = 0; i < count; ++i)
        deliver(events[static_cast<std::size_t>(i)].data.u64);
}

void BackgroundPool::deliver(std::uint64_t id) {
    if (id == wakerId) {
        eventfd_t count = 0;
        eventfd_read(waker_.get(), &count);
        return;
    }
    const auto entry = watches_.find(id);
    if (entry == watches_.end())
        return;
    Watch& watch = *entry->second;
    if (std::exchange(watch.running, true))
        watch.again = true;
    else
        watchLane_->queue.push(monotonicNow(), [this, served = entry->second] { serve(*served); });
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

bool BackgroundPool::arm(const Watch& watch, int operation) {
    epoll_event event{};
    event.events = watch.events | EPOLLONESHOT;
    event.data.u64 = watch.id;
    return epoll_ctl(poller_.get(), operation, watch.descriptor, &event) == 0;
}

} // namespace sentrel::platform
