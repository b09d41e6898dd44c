// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Observation.h>

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/platform/support/Observer.h>

#include "tests/contract/ObservationContract.h"

#include <cerrno>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

class Notices {
public:
    static constexpr bool tellsItself = true;

    Observation observe(std::function<void()> observer) {
        return observers_.add([call = std::move(observer)](int) { call(); });
    }
    void happen() {
        observers_.post(1);
        observers_.tell();
    }

private:
    Observers<int> observers_;
};

class ScriptedPower {
public:
    static constexpr bool tellsItself = true;

    Observation observe(std::function<void()> observer) { return machine_.power().observe(std::move(observer)); }
    void happen() { machine_.power().change(); }

private:
    ScriptedPlatform machine_;
};

class ScriptedVolumes {
public:
    static constexpr bool tellsItself = true;

    Observation observe(std::function<void()> observer) {
        return machine_.volumes().observe([call = std::move(observer)](const VolumeNotification&) { call(); });
    }
    void happen() { machine_.volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/x"}); }

private:
    ScriptedPlatform machine_;
};

class ScriptedProcesses {
public:
    static constexpr bool tellsItself = true;

    Observation observe(std::function<void()> observer) {
        return machine_.processes().observeRunningApplications(
            [call = std::move(observer)](const RunningApplications&) { call(); });
    }
    void happen() {
        machine_.processes().launch({.processIdentifier = 100, .startTime = 1});
        machine_.processes().refreshRunningApplications();
    }

private:
    ScriptedPlatform machine_;
};

// Its queues are for one thread at a time: one drains them for all.
class ScriptedConfiguration {
public:
    static constexpr bool tellsItself = true;

    Observation observe(std::function<void()> observer) {
        std::unique_ptr<ConfigurationWatch> watch = machine_.network().watchConfiguration("test");
        EXPECT_TRUE(watch->setNotificationKeys({"State:/Network/Global/DNS"}));
        return watch->schedule(machine_.dispatch().backgroundQueue(), std::move(observer));
    }
    void happen() {
        {
            const std::lock_guard lock(mutex_);
            ++waiting_;
            if (std::exchange(isDraining_, true))
                return;
        }
        // Others may bring more all the time: what is left over waits for the next of them.
        constexpr int most = 100;
        const Draining draining{*this};
        for (int turn = 0; turn < most && take(); ++turn) {
            machine_.network().change();
            machine_.dispatch().runPending();
        }
    }

private:
    struct Draining {
        ScriptedConfiguration& source;
        ~Draining() {
            const std::lock_guard lock(source.mutex_);
            source.isDraining_ = false;
        }
    };

    bool take() {
        const std::lock_guard lock(mutex_);
        isDraining_ = waiting_ > 0;
        return isDraining_ && waiting_-- > 0;
    }

    ScriptedPlatform machine_;
    std::mutex mutex_;
    int waiting_ = 0;
    bool isDraining_ = false;
};

using Sources = testing::Types<Notices, ScriptedPower, ScriptedVolumes, ScriptedProcesses, ScriptedConfiguration>;
INSTANTIATE_TYPED_TEST_SUITE_P(Scripted, ObservationContract, Sources);

TEST(Observation, IsEmptyWithErrnoSetWhereTheSystemRefuses) {
    ScriptedPlatform machine;
    machine.power().calls.fail("observe");
    errno = 0;
    EXPECT_FALSE(machine.power().observe([] {}));
    EXPECT_EQ(errno, EIO);
    machine.volumes().calls.fail("observe");
    errno = 0;
    EXPECT_FALSE(machine.volumes().observe([](const VolumeNotification&) {}));
    EXPECT_EQ(errno, EIO);
}

} // namespace
} // namespace sentrel::platform
