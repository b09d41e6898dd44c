// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
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

#include <cstdlib>
#include <functional>
#include <stdexcept>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::Observation;

namespace {

// The functions of the system that call back were not made to have an exception pass through them.
class MacCallbackException : public DarwinTest {
protected:
    static void thrown() { throw std::runtime_error("of an observer"); }

    // That the process ends inside the callback that `provoke` brings about.
    static void expectEnd(const std::function<void()>& provoke) {
        EXPECT_DEATH(
            {
                try {
                    provoke();
                } catch (...) {
                    std::_Exit(EXIT_SUCCESS);
                }
            },
            "");
    }
};

TEST_F(MacCallbackException, OfThePowerSourcesEndsTheProcess) {
    expectEnd([] {
        MacPowerService power;
        const Observation observation = power.observe(thrown);
        signalSources();
    });
}

TEST_F(MacCallbackException, OfTheConfigurationEndsTheProcess) {
    expectEnd([] {
        MacNetworkService network;
        const auto watch = network.watchConfiguration("test");
        watch->setNotificationKeys({"State:/Network/Global/IPv4"});
        const Observation observation = watch->schedule(MacDispatch().backgroundQueue(), thrown);
        store::change("State:/Network/Global/IPv4");
        queues::advance(0);
    });
}

TEST_F(MacCallbackException, OfAnUnmountEndsTheProcess) {
    machine().registry.add(
        {.name = "disk2", .classes = {"IOMedia"}, .properties = {{"BSD Name", "disk2"}, {"Whole", true}}});
    expectEnd([] {
        const auto session = MacVolumeService().openSession();
        session->setQueue(MacDispatch().backgroundQueue());
        session->disk("disk2")->unmount({}, [](const auto&, const Dissenter*) { thrown(); });
        queues::advance(0);
    });
}

TEST_F(MacCallbackException, OfTheVolumesEndsTheProcess) {
    expectEnd([] {
        MacVolumeService volumes;
        const Observation observation = volumes.observe([](const VolumeNotification&) { thrown(); });
        workspace::post({});
    });
}

TEST_F(MacCallbackException, OfTheRunningApplicationsEndsTheProcess) {
    expectEnd([] {
        MacProcessService processes;
        const Observation observation =
            processes.observeRunningApplications([](const RunningApplications&) { thrown(); });
        machine().running.emplace_back().processIdentifier = 100;
        workspace::changeRunning();
    });
}

} // namespace
