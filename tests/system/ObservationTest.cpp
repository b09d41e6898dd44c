// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Observation.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/system/Applications.h>

#include "tests/contract/ObservationContract.h"

#include <mutex>
#include <utility>

namespace sentrel {
namespace {

class Count {
public:
    static constexpr bool tellsItself = true;

    Observation observe(std::function<void()> observer) {
        return applications_.observeCount([call = std::move(observer)](std::int64_t) { call(); });
    }
    // Never the same count twice in a row, as long as there are few changes under way.
    void happen() {
        platform::ScriptedProcessService& processes = machine_->processes();
        {
            const std::lock_guard lock(mutex_);
            const int step = step_++ % 16;
            if (step < 8)
                processes.launch({.processIdentifier = 100 + step, .startTime = 1});
            else
                processes.terminate(100 + step - 8);
        }
        processes.refreshRunningApplications();
    }

private:
    ScriptedMachine machine_;
    std::mutex mutex_;
    int step_ = 0;
    Applications applications_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Applications, ObservationContract, Count);

} // namespace
} // namespace sentrel
