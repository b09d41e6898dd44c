// SPDX-License-Identifier: Apache-2.0
/// What is observed on macOS, held to the contract of all observations, on the simulated system.

#include "tests/contract/ObservationContract.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/Store.h"
#include "tests/darwin/doubles/VolumeNotices.h"
#include "tests/darwin/doubles/Workspace.h"

#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>
#include <SentrelKit/platform/macos/network/MacNetworkService.h>
#include <SentrelKit/platform/macos/power/MacPowerService.h>
#include <SentrelKit/platform/macos/processes/MacProcessService.h>
#include <SentrelKit/platform/macos/volumes/MacVolumeService.h>

#include <gmock/gmock.h>
#include <memory>
#include <mutex>
#include <vector>

namespace sentrel::platform {
namespace {

// A new simulated machine, on which nothing is left at the end. No exception passes through the system's callbacks.
class SimulatedMachine {
public:
    static constexpr bool tellsItself = false;

    SimulatedMachine() { darwin::begin(); }
    ~SimulatedMachine() {
        darwin::queues::finalize();
        EXPECT_THAT(darwin::ledger::close(), testing::IsEmpty());
    }
    SimulatedMachine(const SimulatedMachine&) = delete;
    SimulatedMachine& operator=(const SimulatedMachine&) = delete;
};

class MacVolumeSource : public SimulatedMachine {
public:
    Observation observe(std::function<void()> observer) {
        return service_.observe([call = std::move(observer)](const VolumeNotification&) { call(); });
    }
    void happen() { darwin::workspace::post({}); }

private:
    MacVolumeService service_;
};

class MacPowerSource : public SimulatedMachine {
public:
    Observation observe(std::function<void()> observer) { return service_.observe(std::move(observer)); }
    void happen() { darwin::signalSources(); }

private:
    MacPowerService service_;
};

class MacProcessSource : public SimulatedMachine {
public:
    Observation observe(std::function<void()> observer) {
        return service_.observeRunningApplications(
            [call = std::move(observer)](const RunningApplications&) { call(); });
    }
    void happen() { darwin::workspace::changeRunning(); }

private:
    MacProcessService service_;
};

class MacConfigurationSource : public SimulatedMachine {
public:
    Observation observe(std::function<void()> observer) {
        std::unique_ptr<ConfigurationWatch> watch = network_.watchConfiguration("test");
        EXPECT_TRUE(watch->setNotificationKeys({key}));
        Observation observation = watch->schedule(dispatch_.backgroundQueue(), std::move(observer));
        const std::lock_guard lock(mutex_);
        watches_.push_back(std::move(watch)); // which outlives the observation
        return observation;
    }
    void happen() { darwin::store::change(key); }

private:
    static constexpr const char* key = "State:/Network/Global/IPv4";

    MacNetworkService network_;
    MacDispatch dispatch_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<ConfigurationWatch>> watches_;
    darwin::queues::Threads threads_;
};

using Sources = testing::Types<MacVolumeSource, MacPowerSource, MacProcessSource, MacConfigurationSource>;
INSTANTIATE_TYPED_TEST_SUITE_P(Darwin, ObservationContract, Sources);

} // namespace
} // namespace sentrel::platform
