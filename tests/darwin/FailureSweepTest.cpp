// SPDX-License-Identifier: Apache-2.0
/// Every function of the system that can fail, failing once at each of its calls while a registry lives its whole life.

#include "tests/darwin/FurnishedMac.h"
#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/Store.h"
#include "tests/darwin/doubles/VolumeNotices.h"
#include "tests/darwin/doubles/Workspace.h"
#include "tests/support/EchoHostGuard.h"

#include <SentrelKit/platform/macos/MacPlatform.h>
#include <SentrelKit/system/System.h>

#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <string>

using namespace darwin;
using namespace sentrel;
using testing::AnyOf;
using testing::IsEmpty;

namespace {

constexpr int failure = 5; // a failure as an error number, as a return of the kernel, and as a length of an answer

constexpr std::int64_t noPercent = std::numeric_limits<std::int32_t>::min();

// Without these at its beginning, the last one for a name, a session of the probes ends the process: its own tests show
// that.
bool isVital(const std::string& function) {
    return function == "DASessionCreate" || function == "SCDynamicStoreCreate" || function == "CFStringCreateWithBytes";
}

bool isShare(double percent) {
    return percent >= 0 && percent <= 100;
}

// Whatever failed, a figure is a figure of this machine, or the one that stands for none.
void expectFigures(const System& registry) {
    EXPECT_TRUE(isShare(registry.cpu().user()) && isShare(registry.cpu().sys()) && isShare(registry.cpu().idle()));
    EXPECT_THAT(registry.cpu().brand(), AnyOf("", "Example Processor 2.50GHz"));
    EXPECT_THAT(registry.cpu().processes(), AnyOf(0u, 300u));
    EXPECT_THAT(registry.cpu().logicalCores(), AnyOf(0, 8));
    EXPECT_THAT(registry.cpu().bootTime(), AnyOf(0, 1'600'000'000));
    EXPECT_LE(registry.cpu().thermalState(), ThermalState::critical);
    EXPECT_THAT(registry.cpu().loadavg()[0], AnyOf(0.0, 1.5));
    EXPECT_TRUE(isShare(registry.mem().usage()));
    EXPECT_THAT(registry.mem().wired(), AnyOf(0u, 500u * 4096));
    const Memory::Swap swap = registry.mem().swap();
    EXPECT_LE(swap.used, swap.total);
    EXPECT_THAT(registry.gpu().name(), AnyOf("", "Unknown", "Radeon Pro 560X", "Intel UHD Graphics 630"));
    EXPECT_LE(registry.disk().volumes().size(), 2u);
    for (const auto& [device, volume] : registry.disk().volumes()) {
        EXPECT_THAT(device, AnyOf("disk1s1", "spare"));
        EXPECT_THAT(volume->total(), AnyOf(0, 1000 * 4096, 500 * 4096));
        EXPECT_LE(volume->free(), volume->total());
        EXPECT_TRUE(std::isfinite(volume->rbytesps()) && std::isfinite(volume->wbytesps()));
        EXPECT_THAT(volume->rbytes(), AnyOf(0, 1000));
    }
    EXPECT_LE(registry.disk().usage(), 100);
    for (const probes::DiskActivity& activity : registry.disk().activity()) {
        EXPECT_THAT(activity.counters.name, AnyOf("disk0", "disk1", "spare"));
        EXPECT_THAT(activity.counters.reads, AnyOf(0, 10));
        EXPECT_GE(activity.readsRate.value_or(0), 0);
        EXPECT_FALSE(activity.busy);
    }
    EXPECT_THAT(registry.battery().percent(), AnyOf(0, 50, 60, noPercent));
    EXPECT_THAT(registry.battery().acWatts(), AnyOf(0, 61));
    EXPECT_THAT(registry.battery().voltage(), AnyOf(0, 12000));
    EXPECT_LE(registry.net().interfaces().size(), 2u);
    EXPECT_TRUE(std::isfinite(registry.net().aggregated()->ibytesps()));
    EXPECT_THAT(registry.net().localhostName().value_or("tower"), "tower");
    EXPECT_THAT(registry.net().router().value_or("192.0.2.1"), "192.0.2.1");
    for (const WirelessLink& link : registry.net().wireless()) {
        EXPECT_EQ(link.name, "en0");
        EXPECT_EQ(link.signal, -52);
    }
    EXPECT_LE(registry.apps().count(), 2);
    for (const LoggedInUser& user : registry.host().users().value_or(std::vector<LoggedInUser>()))
        EXPECT_EQ(user, (LoggedInUser{"anna", "console", "", 1'600'000'100, 90}));
    for (const auto& process : registry.apps().cpu())
        EXPECT_TRUE(std::isfinite(process->cpu()));
}

// Everything that happens to a registry: made, started, sampled, told of changes, stopped, released.
void live(System& registry) {
    expectFigures(registry);
    registry.disk().setMeasures({Disk::Measure::activity, Disk::Measure::devices});
    registry.net().setMeasures({Network::Measure::wireless});
    registry.start();
    for (const SystemResource* resource :
         {static_cast<const SystemResource*>(&registry.disk()), static_cast<const SystemResource*>(&registry.apps()),
          static_cast<const SystemResource*>(&registry.gpu())})
        registry.start(*resource);
    queues::advance(2.3);
    expectFigures(registry);
    count(1000, 500);
    machine().load.cpu_ticks[CPU_STATE_USER] += 50;
    machine().load.cpu_ticks[CPU_STATE_IDLE] += 50;
    machine().powerSources->front().insert_or_assign("Current Capacity", 60);
    signalSources();
    store::change("State:/Network/Global/IPv4");
    machine().running.push_back({.processIdentifier = 100'000'000, .localizedName = "Gone"});
    workspace::changeRunning();
    workspace::post({platform::VolumeNotification::Kind::didMount, {}, {}, "/Volumes/SPARE"});
    queues::advance(2.3);
    expectFigures(registry);
    if (const auto root = registry.disk().HD())
        static_cast<void>(root->smartStatus());
    if (const auto volumes = registry.disk().volumes(); volumes.contains("spare"))
        static_cast<void>(volumes.at("spare")->eject());
    queues::advance(1);
    registry.stop();
    queues::advance(3);
    expectFigures(registry);
}

class MacLives : public testing::Test {
protected:
    // One life on a new machine, of which nothing is left and nothing was released twice.
    static void live(const std::function<void()>& plan) {
        begin();
        furnish();
        machine().mounts.push_back(
            {.from = "/dev/spare", .on = "/Volumes/SPARE", .blockSize = 4096, .blocks = 500, .freeBlocks = 100});
        plan();
        // What fails may be told in lines for the user.
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        {
            platform::MacPlatform platform;
            {
                System registry(platform);
                ::live(registry);
            }
            queues::advance(10); // what was under way ends
        }
        const std::string lines = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
        EXPECT_FALSE(HasFailure()) << lines;
        EXPECT_THAT(ledger::close(), IsEmpty());
    }

    const EchoHostGuard guard{{}}; // contact nobody
};

TEST_F(MacLives, EndCleanWhateverFailsOnceAtEachOfItsCalls) {
    live([] {});
    std::map<std::string, int> functions = failures::called();
    ASSERT_GT(functions.size(), 40u);
    int lives = 0;
    for (const auto& [function, calls] : functions) {
        for (int call = isVital(function) ? 2 : 1; call <= calls && !HasFailure(); ++call) {
            SCOPED_TRACE(function + " fails at call " + std::to_string(call));
            live([&function = function, call] { failures::plan(function, failure, call); });
            ++lives;
        }
    }
    RecordProperty("lives", lives);
}

TEST_F(MacLives, EndCleanWhateverFailsAtEveryCall) {
    live([] {});
    for (const auto& [function, calls] : failures::called()) {
        if (isVital(function))
            continue;
        SCOPED_TRACE(function);
        live([&function = function] { failures::planAll(function, failure); });
    }
}

} // namespace
