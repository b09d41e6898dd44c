// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/TimedQueue.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace sentrel::platform {

namespace {

std::int64_t addWithoutOverflow(std::int64_t a, std::int64_t b) noexcept {
    std::int64_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? std::numeric_limits<std::int64_t>::max() : sum;
}

} // namespace

TimedQueue::Ticker::Ticker(std::int64_t interval, Work tick)
    : interval_(std::max<std::int64_t>(interval, 1)), tick_(std::move(tick)) {}

void TimedQueue::pushAt(std::int64_t deadline, Work work) {
    if (spare_.empty()) {
        schedule_.emplace(deadline, Entry{std::move(work), nullptr});
        return;
    }
    spare_.key() = deadline;
    spare_.mapped().work = std::move(work);
    schedule_.insert(std::move(spare_));
}

void TimedQueue::resume(const std::shared_ptr<Ticker>& ticker, std::int64_t now) {
    if (ticker->resumed_)
        return;
    ticker->resumed_ = true;
    ticker->deadline_ = addWithoutOverflow(now, ticker->interval_);
    if (!ticker->running_)
        schedule(ticker);
}

void TimedQueue::suspend(const std::shared_ptr<Ticker>& ticker) {
    ticker->resumed_ = false;
    unschedule(ticker);
}

std::optional<TimedQueue::Job> TimedQueue::take(std::int64_t now) {
    const auto due = schedule_.begin();
    if (due == schedule_.end() || due->first > now)
        return std::nullopt;
    if (const std::shared_ptr<Ticker>& ticker = due->second.ticker) {
        running_.push_back(ticker);
        ticker->waiting_ = false;
        ticker->running_ = true;
        // Deadlines stay on the grid of the first one; those that have passed already merge into this tick.
        const std::int64_t missed = (now - ticker->deadline_) / ticker->interval_;
        ticker->deadline_ = addWithoutOverflow(ticker->deadline_ + missed * ticker->interval_, ticker->interval_);
    }
    Job job;
    job.entry_ = schedule_.extract(due);
    return job;
}

void TimedQueue::finished(Job& job) {
    const std::shared_ptr<Ticker> ticker = job.entry_.mapped().ticker;
    if (!ticker) {
        job.ended_ = std::exchange(job.entry_.mapped().work, nullptr);
        spare_ = std::move(job.entry_);
        return;
    }
    running_.erase(std::find(running_.begin(), running_.end(), ticker));
    ticker->running_ = false;
    if (!ticker->resumed_)
        return;
    ticker->waiting_ = true;
    job.entry_.key() = ticker->deadline_;
    schedule_.insert(std::move(job.entry_));
}

void TimedQueue::abandonJobs() {
    for (const auto& ticker : running_) {
        ticker->running_ = false;
        if (ticker->resumed_)
            schedule(ticker);
    }
    running_.clear();
}

void TimedQueue::clear() {
    // Released last: what a closure holds may come back to the queue.
    const Schedule dropped = std::exchange(schedule_, {});
    for (const auto& [deadline, entry] : dropped) {
        if (entry.ticker)
            entry.ticker->waiting_ = entry.ticker->resumed_ = false;
    }
}

std::optional<std::int64_t> TimedQueue::nextDeadline() const {
    if (schedule_.empty())
        return std::nullopt;
    return schedule_.begin()->first;
}

std::optional<std::int64_t> TimedQueue::nextDeadlineAfter(std::int64_t now) const {
    const auto next = schedule_.upper_bound(now);
    if (next == schedule_.end())
        return std::nullopt;
    return next->first;
}

void TimedQueue::schedule(const std::shared_ptr<Ticker>& ticker) {
    ticker->waiting_ = true;
    schedule_.emplace(ticker->deadline_, Entry{nullptr, ticker});
}

void TimedQueue::unschedule(const std::shared_ptr<Ticker>& ticker) {
    if (!ticker->waiting_)
        return;
    ticker->waiting_ = false;
    const auto [first, last] = schedule_.equal_range(ticker->deadline_);
    const auto entry = std::find_if(first, last, [&](const auto& item) { return item.second.ticker == ticker; });
    schedule_.erase(entry);
}

} // namespace sentrel::platform
