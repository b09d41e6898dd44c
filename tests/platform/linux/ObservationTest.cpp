// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Observation.h>

#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/linux/network/LinuxConfigurationWatch.h>
#include <SentrelKit/platform/linux/power/LinuxPowerService.h>
#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>

#include "tests/contract/ObservationContract.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/MainLoop.h"
#include "tests/support/linux/PowerMachine.h"
#include "tests/support/linux/ProcessTree.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

using namespace std::chrono_literals;

class Descriptors {
public:
    static constexpr bool tellsItself = false;

    Descriptors() {
        dispatch_.backgroundQueue()->async([] {}); // descriptors are watched from the first use of a queue on
    }

    Observation observe(std::function<void()> observer) {
        UniqueFd event(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
        const int descriptor = event.get();
        {
            const std::lock_guard lock(mutex_);
            events_.push_back(std::move(event));
        }
        return dispatch_.watch(descriptor, EPOLLIN, [descriptor, call = std::move(observer)] {
            eventfd_t value = 0;
            if (::eventfd_read(descriptor, &value) == 0)
                call();
        });
    }
    void happen() {
        const std::lock_guard lock(mutex_);
        for (const UniqueFd& event : events_)
            ::eventfd_write(event.get(), 1);
    }

private:
    std::mutex mutex_;
    std::vector<UniqueFd> events_;
    LinuxDispatch dispatch_;
};

class Configuration {
public:
    static constexpr bool tellsItself = false;

    Configuration() {
        happen();
        dispatch_.backgroundQueue()->async([] {});
    }

    Observation observe(std::function<void()> observer) {
        auto watch = std::make_unique<LinuxConfigurationWatch>(SystemRoot(tree_.path()), dispatch_);
        EXPECT_TRUE(watch->setNotificationKeys({"State:/Network/Global/DNS"}));
        Observation observation = watch->schedule(dispatch_.backgroundQueue(), std::move(observer));
        const std::lock_guard lock(mutex_);
        watches_.push_back(std::move(watch));
        return observation;
    }
    void happen() {
        const std::lock_guard lock(mutex_);
        server_ = server_ % 250 + 1;
        tree_.write("etc/resolv.conf", "nameserver 192.0.2." + std::to_string(server_) + "\n");
    }

private:
    const TemporaryFolder tree_;
    std::mutex mutex_;
    int server_ = 0;
    std::vector<std::unique_ptr<LinuxConfigurationWatch>> watches_;
    LinuxDispatch dispatch_;
};

class Power {
public:
    static constexpr bool tellsItself = false;

    ~Power() {
        isOver_ = true;
        loop_.join();
    }

    Observation observe(std::function<void()> observer) { return service_.observe(std::move(observer)); }
    void happen() {
        const std::lock_guard lock(mutex_);
        charge_ = charge_ == 2700000 ? 2600000 : charge_ + 1000;
        tree_.set("BAT0", "charge_now", std::to_string(charge_) + "\n");
    }

private:
    const PowerSupplyTree tree_{"charge-laptop"};
    std::mutex mutex_;
    int charge_ = 2600000;
    LinuxPowerService service_{tree_.root(), {.settling = 1ms, .polling = 1ms}};
    std::atomic<bool> isOver_{false};
    std::thread loop_{[this] {
        while (!isOver_)
            static_cast<void>(serveUntil([this] { return isOver_.load(); }));
    }};
};

class Processes {
public:
    static constexpr bool tellsItself = true;

    Processes() { tree_.put({.id = 1, .session = 1, .start = 1, .command = "init", .program = "/sbin/init"}); }

    Observation observe(std::function<void()> observer) {
        return service_.observeRunningApplications(
            [call = std::move(observer)](const RunningApplications&) { call(); });
    }
    void happen() {
        {
            const std::lock_guard lock(mutex_);
            isThere_ = !isThere_;
            if (isThere_)
                tree_.put({.id = 100, .parent = 1, .session = 100, .start = 10, .command = "p", .program = "/usr/p"});
            else
                tree_.remove(100);
            tree_.setLastId(++lastId_);
        }
        service_.refreshRunningApplications();
    }

private:
    ProcessTree tree_;
    std::mutex mutex_;
    bool isThere_ = false;
    int lastId_ = 1000;
    LinuxProcessService service_{tree_.root()};
};

using Sources = testing::Types<Descriptors, Configuration, Power, Processes>;
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, ObservationContract, Sources);

} // namespace
} // namespace sentrel::platform
