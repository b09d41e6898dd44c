// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Timer.h>

#include <utility>

namespace sentrel {

namespace {

std::shared_ptr<DispatchQueue> queue(bool background) {
    return background ? dispatch::backgroundQueue() : dispatch::mainQueue();
}

} // namespace

Timer::Timer(double interval, bool background, std::function<void()> closure)
    : Timer(interval, *queue(background), std::move(closure)) {}

Timer::Timer(double interval, DispatchQueue& queue, std::function<void()> closure)
    : timer_(queue.makeTimer(nanosecondsFromSeconds(interval), std::move(closure))) {}

Timer::~Timer() = default;

void Timer::start() {
    if (status_ != Status::initial && status_ != Status::suspended)
        return;
    status_ = Status::started;
    timer_->resume();
}

void Timer::suspend() {
    if (status_ != Status::started)
        return;
    status_ = Status::suspended;
    timer_->suspend();
}

void Timer::cancel() {
    if (status_ != Status::started)
        return;
    status_ = Status::canceled;
    timer_->cancel();
}

void Timer::delay(double seconds, bool background, std::function<void()> closure) {
    queue(background)->after(nanosecondsFromSeconds(seconds), std::move(closure));
}

void Timer::onBackground(std::function<void()> closure) {
    dispatch::backgroundQueue()->async(std::move(closure));
}

void Timer::onMain(std::function<void()> closure) {
    dispatch::mainQueue()->async(std::move(closure));
}

} // namespace sentrel
