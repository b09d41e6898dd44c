// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinuxConfigurationWatch.h>

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/Await.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/MainLoop.h"
#include "tests/support/linux/NetworkNamespace.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sched.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

const std::vector<std::string> allKeys = {"State:/Network/Global/IPv4", "State:/Network/Global/DNS",
                                          "Setup:/Network/HostNames"};

/// A watch, and the wait for its next call.
class Watched {
public:
    explicit Watched(const SystemRoot& root, const std::vector<std::string>& keys = allKeys) {
        watch_ = std::make_unique<LinuxConfigurationWatch>(root, dispatch_);
        installed = watch_->setNotificationKeys(keys);
        observation_ = watch_->schedule(dispatch_.backgroundQueue(), [this] { changed_.happened(); });
        dispatch_.backgroundQueue()->async([] {}); // watches are served from the first use of a queue on
    }
    /// Runs the change; true if the watch calls within a second, as it promises.
    template <class Change>
    bool calls(Change&& change, std::chrono::seconds bound = std::chrono::seconds(1)) {
        const int before = changed_.count();
        const auto start = std::chrono::steady_clock::now();
        change();
        const bool called = changed_.await(before + 1);
        const auto elapsed = std::chrono::steady_clock::now() - start;
        EXPECT_LT(elapsed, bound);
        return called;
    }
    [[nodiscard]] int count() { return changed_.count(); }
    LinuxConfigurationWatch* operator->() { return watch_.get(); }

    bool installed = false;

private:
    LinuxDispatch dispatch_;
    Event changed_;
    std::unique_ptr<LinuxConfigurationWatch> watch_;
    Observation observation_;
};

std::optional<std::vector<std::string>> servers(Watched& watch) {
    const std::optional<PropertyList> value = watch->value("State:/Network/Global/DNS");
    if (!value)
        return std::nullopt;
    std::vector<std::string> texts;
    for (const PropertyList& address : *value->find("ServerAddresses")->as<PropertyList::List>())
        texts.push_back(*address.as<std::string>());
    return texts;
}

/// The router, or what there is instead of one.
std::string router(Watched& watch) {
    const std::optional<PropertyList> value = watch->value("State:/Network/Global/IPv4");
    if (!value)
        return "not connected";
    const PropertyList* entry = value->find("Router");
    return entry ? *entry->as<std::string>() : "none";
}

TEST(LinuxConfigurationWatch, ReadsTheThreeValues) {
    const TemporaryFolder tree;
    tree.write("proc/sys/kernel/hostname", "workbench\n");
    tree.write("etc/resolv.conf", "nameserver 192.0.2.53\nnameserver 192.0.2.54\n");
    Watched watch{SystemRoot(tree.path())};
    EXPECT_EQ(watch->localHostName(), "workbench");
    EXPECT_THAT(servers(watch).value(), ElementsAre("192.0.2.53", "192.0.2.54"));
}

TEST(LinuxConfigurationWatch, HasNoValueWhereTheMachineHasNone) {
    const TemporaryFolder tree;
    tree.write("proc/sys/kernel/hostname", "(none)\n");
    Watched watch{SystemRoot(tree.path())};
    EXPECT_EQ(watch->localHostName(), std::nullopt);
    EXPECT_EQ(servers(watch), std::nullopt);
}

TEST(LinuxConfigurationWatch, SaysWhichKeysItCannotWatch) {
    const TemporaryFolder tree;
    EXPECT_FALSE(Watched(SystemRoot(tree.path())).installed) << "there is no host name to watch";
    EXPECT_FALSE(Watched(SystemRoot(), {"State:/Network/Global/Weather"}).installed);
    EXPECT_TRUE(Watched(SystemRoot()).installed);
}

TEST(LinuxConfigurationWatch, CallsWhenTheServersChangeAndOnlyThen) {
    const TemporaryFolder tree;
    tree.write("etc/resolv.conf", "nameserver 192.0.2.53\n");
    Watched watch{SystemRoot(tree.path()), {"State:/Network/Global/DNS"}};
    tree.write("etc/resolv.conf", "# the same servers\nnameserver 192.0.2.53\n");
    EXPECT_TRUE(watch.calls([&] {
        tree.write("etc/resolv.conf.new", "nameserver 192.0.2.54\n");
        std::filesystem::rename(tree.path("etc/resolv.conf.new"), tree.path("etc/resolv.conf"));
    }));
    EXPECT_THAT(servers(watch).value(), ElementsAre("192.0.2.54"));
    const int count = watch.count();
    EXPECT_TRUE(watch.calls([&] { tree.remove("etc/resolv.conf"); }));
    EXPECT_EQ(watch.count(), count + 1);
    EXPECT_EQ(servers(watch), std::nullopt);
}

TEST(LinuxConfigurationWatch, CallsWhenTheRouterChanges) {
    if (!NetworkNamespace::available())
        GTEST_SKIP() << "needs root, network namespaces, veth and ip";
    const NetworkNamespace space;
    const NetworkNamespace other;
    const NetworkNamespace::Scope scope(space);
    space.connect("lan0", "192.0.2.1", other, "peer0", "192.0.2.2");
    Watched watch{SystemRoot(), {"State:/Network/Global/IPv4"}};
    EXPECT_EQ(router(watch), "none") << "a network without one";
    EXPECT_TRUE(watch.calls([&] { space.ip("route add default via 192.0.2.2"); }));
    EXPECT_EQ(router(watch), "192.0.2.2");
    EXPECT_TRUE(watch.calls([&] { space.ip("route replace default via 192.0.2.3"); }));
    EXPECT_EQ(router(watch), "192.0.2.3");
    EXPECT_TRUE(watch.calls([&] { space.ip("route replace default dev lan0"); }));
    EXPECT_EQ(router(watch), "none") << "a link that needs none";
    EXPECT_TRUE(watch.calls([&] { space.ip("route replace default via 192.0.2.3"); }));
    EXPECT_TRUE(watch.calls([&] { space.ip("route del default"); }));
    EXPECT_EQ(router(watch), "none") << "a network without one";
    EXPECT_TRUE(watch.calls([&] { space.ip("route add default via 192.0.2.2"); }));
    // The kernel tells nothing of the routes that go with a link.
    EXPECT_TRUE(watch.calls([&] { space.ip("link set lan0 down"); }));
    EXPECT_EQ(router(watch), "not connected");
    space.ip("link set lan0 up");
    EXPECT_TRUE(eventually([&] { return router(watch) == "none"; }));
    EXPECT_TRUE(watch.calls([&] { space.ip("route add default via 192.0.2.2"); }));
    // The kernel itself may tell of a carrier up to a second late.
    constexpr std::chrono::seconds carrierBound(3);
    EXPECT_TRUE(watch.calls([&] { other.ip("link set peer0 down"); }, carrierBound)) << "the cable is out";
    EXPECT_TRUE(eventually([&] { return router(watch) == "not connected"; }));
    EXPECT_TRUE(watch.calls([&] { other.ip("link set peer0 up"); }, carrierBound));
    EXPECT_TRUE(eventually([&] { return router(watch) == "192.0.2.2"; }));
    EXPECT_TRUE(watch.calls([&] { space.ip("addr del 192.0.2.1/24 dev lan0"); }));
    EXPECT_EQ(router(watch), "not connected");
}

TEST(LinuxConfigurationWatch, CallsWhenTheHostNameChanges) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to name a host";
    // A thread of its own, which alone sees the other name.
    std::thread([] {
        if (::unshare(CLONE_NEWUTS) != 0)
            return;
        ASSERT_EQ(::sethostname("before", 6), 0);
        Watched watch{SystemRoot(), {"Setup:/Network/HostNames"}};
        EXPECT_EQ(watch->localHostName(), "before");
        EXPECT_TRUE(watch.calls([] { EXPECT_EQ(::sethostname("after", 5), 0); }));
        EXPECT_EQ(watch->localHostName(), "after");
        // Each change follows the call for the one before at once, before the watch is armed again.
        for (const char* name : {"third", "forth", "fifth", "sixth", "again"}) {
            EXPECT_TRUE(watch.calls([name] { EXPECT_EQ(::sethostname(name, 5), 0); })) << name;
        }
    }).join();
}

TEST(LinuxConfigurationWatch, CallsOnTheQueueItIsScheduledOn) {
    const TemporaryFolder tree;
    tree.write("etc/resolv.conf", "nameserver 192.0.2.53\n");
    LinuxDispatch dispatch;
    std::thread::id caller;
    LinuxConfigurationWatch watch{SystemRoot(tree.path()), dispatch};
    EXPECT_TRUE(watch.setNotificationKeys({"State:/Network/Global/DNS"}));
    const Observation observation =
        watch.schedule(dispatch.mainQueue(), [&caller] { caller = std::this_thread::get_id(); });
    dispatch.backgroundQueue()->async([] {});
    tree.write("etc/resolv.conf", "nameserver 192.0.2.54\n");
    EXPECT_TRUE(serveUntil([&caller] { return caller == std::this_thread::get_id(); }));
}

// The call ran under the lock that the notice of the next change takes: what waited in it for that change waited for
// good.
TEST(LinuxConfigurationWatch, CallsUnderNoLockAndOnceMoreForWhatChangesMeanwhile) {
    const TemporaryFolder tree;
    tree.write("etc/resolv.conf", "nameserver 192.0.2.53\n");
    LinuxDispatch dispatch;
    Event first;
    Event second;
    std::atomic<int> calls{0};
    LinuxConfigurationWatch watch{SystemRoot(tree.path()), dispatch};
    EXPECT_TRUE(watch.setNotificationKeys({"State:/Network/Global/DNS"}));
    const Observation observation = watch.schedule(dispatch.backgroundQueue(), [&] {
        if (calls++ == 0) {
            tree.write("etc/resolv.conf", "nameserver 192.0.2.55\n");
            EXPECT_TRUE(watch.setNotificationKeys({})); // takes the lock
            first.happened();
        } else {
            second.happened();
        }
    });
    dispatch.backgroundQueue()->async([] {});
    tree.write("etc/resolv.conf", "nameserver 192.0.2.54\n");
    EXPECT_TRUE(first.await());
    EXPECT_TRUE(second.await());
}

TEST(LinuxConfigurationWatch, MayBeReleasedFromInsideItsCall) {
    const TemporaryFolder tree;
    tree.write("etc/resolv.conf", "nameserver 192.0.2.53\n");
    LinuxDispatch dispatch;
    Event called;
    auto watch = std::make_unique<LinuxConfigurationWatch>(SystemRoot(tree.path()), dispatch);
    EXPECT_TRUE(watch->setNotificationKeys({"State:/Network/Global/DNS"}));
    Observation observation = watch->schedule(dispatch.backgroundQueue(), [&] {
        tree.write("etc/resolv.conf", "nameserver 192.0.2.55\n");
        observation.reset();
        watch.reset();
        called.happened();
    });
    dispatch.backgroundQueue()->async([] {});
    tree.write("etc/resolv.conf", "nameserver 192.0.2.54\n");
    EXPECT_TRUE(called.await());
    Event drained;
    dispatch.backgroundQueue()->async([drained]() mutable { drained.happened(); });
    EXPECT_TRUE(drained.await());
    EXPECT_EQ(called.count(), 1);
}

TEST(LinuxConfigurationWatch, WaitsWhenItIsReleasedForACallOnAnotherThread) {
    const TemporaryFolder tree;
    tree.write("etc/resolv.conf", "nameserver 192.0.2.53\n");
    LinuxDispatch dispatch;
    Event begun;
    std::atomic<bool> hasEnded{false};
    LinuxConfigurationWatch watch{SystemRoot(tree.path()), dispatch};
    EXPECT_TRUE(watch.setNotificationKeys({"State:/Network/Global/DNS"}));
    Observation observation = watch.schedule(dispatch.backgroundQueue(), [&] {
        begun.happened();
        for (int turn = 0; turn < 1000; ++turn)
            std::this_thread::yield();
        hasEnded = true;
    });
    dispatch.backgroundQueue()->async([] {});
    tree.write("etc/resolv.conf", "nameserver 192.0.2.54\n");
    EXPECT_TRUE(begun.await());
    observation.reset();
    EXPECT_TRUE(hasEnded);
}

TEST(LinuxConfigurationWatch, CallsNoMoreOnceItIsReleased) {
    const TemporaryFolder tree;
    tree.write("etc/resolv.conf", "nameserver 192.0.2.53\n");
    LinuxDispatch dispatch;
    Event first;
    Event second;
    LinuxConfigurationWatch one{SystemRoot(tree.path()), dispatch};
    LinuxConfigurationWatch other{SystemRoot(tree.path()), dispatch};
    for (LinuxConfigurationWatch* watch : {&one, &other})
        EXPECT_TRUE(watch->setNotificationKeys({"State:/Network/Global/DNS"}));
    Observation released = one.schedule(dispatch.backgroundQueue(), [&] { first.happened(); });
    const Observation kept = other.schedule(dispatch.backgroundQueue(), [&] { second.happened(); });
    dispatch.backgroundQueue()->async([] {});
    released.reset();
    tree.write("etc/resolv.conf", "nameserver 192.0.2.54\n");
    EXPECT_TRUE(second.await());
    EXPECT_EQ(first.count(), 0);
}

} // namespace
} // namespace sentrel::platform
