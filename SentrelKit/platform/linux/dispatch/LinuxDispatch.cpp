// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include <SentrelKit/platform/linux/dispatch/BackgroundPool.h>
#include <SentrelKit/platform/linux/dispatch/MainQueue.h>
#include <SentrelKit/platform/support/Observer.h>
#include <SentrelKit/platform/support/QueueTimer.h>

#include <utility>

namespace sentrel::platform {

namespace {

// A lane of the pool. The lane outlives its queue while it still has closures to run.
class PoolQueue final : public DispatchQueue, public std::enable_shared_from_this<PoolQueue> {
public:
    PoolQueue(std::shared_ptr<BackgroundPool> pool, bool serial)
        : pool_(std::move(pool)), lane_(pool_->makeLane(serial)) {}
    ~PoolQueue() override { pool_->close(*lane_); }

    void async(std::function<void()> work) override { pool_->push(*lane_, std::move(work)); }
    void after(std::int64_t nanoseconds, std::function<void()> work) override {
        pool_->pushAfter(*lane_, nanoseconds, std::move(work));
    }
    std::unique_ptr<RepeatingTimer> makeTimer(std::int64_t nanoseconds, std::function<void()> tick) override;

    void resume(const std::shared_ptr<TimedQueue::Ticker>& ticker) { pool_->resume(*lane_, ticker); }
    void suspend(const std::shared_ptr<TimedQueue::Ticker>& ticker) { pool_->suspend(*lane_, ticker); }

private:
    std::shared_ptr<BackgroundPool> pool_;
    std::shared_ptr<BackgroundPool::Lane> lane_;
};

std::unique_ptr<RepeatingTimer> PoolQueue::makeTimer(std::int64_t nanoseconds, std::function<void()> tick) {
    return std::make_unique<QueueTimer<PoolQueue>>(shared_from_this(), nanoseconds, std::move(tick));
}

class PoolWatch {
public:
    PoolWatch(std::shared_ptr<BackgroundPool> pool, std::shared_ptr<BackgroundPool::Watch> watch)
        : pool_(std::move(pool)), watch_(std::move(watch)) {}
    ~PoolWatch() { pool_->endWatch(*watch_); }
    PoolWatch(const PoolWatch&) = delete;
    PoolWatch& operator=(const PoolWatch&) = delete;

private:
    std::shared_ptr<BackgroundPool> pool_;
    std::shared_ptr<BackgroundPool::Watch> watch_;
};

} // namespace

LinuxDispatch::LinuxDispatch()
    : main_(std::make_shared<MainQueue>()),
      pool_(std::make_shared<BackgroundPool>([main = main_](std::int64_t nanoseconds, BackgroundPool::Work work) {
          main->after(nanoseconds, std::move(work));
      })),
      background_(std::make_shared<PoolQueue>(pool_, false)) {}

LinuxDispatch::~LinuxDispatch() {
    pool_->stop();
}

std::shared_ptr<DispatchQueue> LinuxDispatch::mainQueue() {
    return main_;
}

std::shared_ptr<DispatchQueue> LinuxDispatch::backgroundQueue() {
    return background_;
}

std::shared_ptr<DispatchQueue> LinuxDispatch::serialQueue(const std::string& /*name*/) {
    return std::make_shared<PoolQueue>(pool_, true);
}

void LinuxDispatch::runMain(double seconds) {
    main_->run(seconds);
}

int LinuxDispatch::mainDescriptor() {
    return main_->descriptor();
}

void LinuxDispatch::serveMain() {
    main_->runDue();
}

Observation LinuxDispatch::watch(int descriptor, std::uint32_t events, std::function<void()> ready) {
    auto observer = std::make_shared<Observer>(std::move(ready));
    auto watch = pool_->watch(descriptor, events, [observer] { observer->tell(); });
    if (!watch)
        return {};
    return Observation(std::move(observer), std::make_shared<PoolWatch>(pool_, std::move(watch)));
}

} // namespace sentrel::platform
