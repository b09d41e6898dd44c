// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/PressureStall.h>

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/linux/host/LinuxHostService.h>
#include <SentrelKit/platform/scripted/ScriptedDispatch.h>
#include <SentrelKit/platform/support/Observer.h>

#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/epoll.h>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {
namespace {

constexpr const char* both = "some avg10=63.33 avg60=54.92 avg300=46.80 total=19031319175\n"
                             "full avg10=0.00 avg60=1.05 avg300=100.00 total=18446744073709551615\n";

TEST(PressureStall, IsReadLineByLine) {
    const auto pressure = parsePressure(both);
    ASSERT_TRUE(pressure);
    EXPECT_EQ(pressure->some, (PressureShare{63.33, 54.92, 46.80, 19031319175}));
    EXPECT_EQ(pressure->full, (PressureShare{0, 1.05, 100, 18446744073709551615ULL}));
}

TEST(PressureStall, OfAnOlderKernelHasNoFullShareOfTheProcessor) {
    const auto pressure = parsePressure("some avg10=0.12 avg60=0.05 avg300=0.01 total=4711");
    ASSERT_TRUE(pressure);
    EXPECT_EQ(pressure->some, (PressureShare{0.12, 0.05, 0.01, 4711}));
    EXPECT_EQ(pressure->full, std::nullopt);
}

TEST(PressureStall, WithoutAWholeLineOfSomeIsNone) {
    for (const char* text :
         {"", "\n", "some", "some avg10=", "some avg10=1 avg60=1.00 avg300=1.00 total=1",
          "some avg10=1.0 avg60=1.00 avg300=1.00 total=1", "some avg10=1.000 avg60=1.00 avg300=1.00 total=1",
          "some avg10=101.00 avg60=1.00 avg300=1.00 total=1", "some avg10=-1.00 avg60=1.00 avg300=1.00 total=1",
          "some avg10=1.-1 avg60=1.00 avg300=1.00 total=1",
          "some avg10=1.00 avg60=1.00 avg300=1.00 total=", "some avg10=1.00 avg60=1.00 avg300=1.00 total=1x",
          "some avg10=1.00 avg60=1.00 avg300=1.00", "some avg10=1.00 avg60=1.00 avg300=1.00 total=18446744073709551616",
          "somewhat avg10=1.00 avg60=1.00 avg300=1.00 total=1", "full avg10=1.00 avg60=1.00 avg300=1.00 total=1\n"})
        EXPECT_FALSE(parsePressure(text)) << text;
    // A line of all that is cut off leaves the other.
    const auto cut = parsePressure(std::string_view(both).substr(0, 80));
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->some.total, 19031319175U);
    EXPECT_EQ(cut->full, std::nullopt);
}

TEST(PressureStall, NeverAveragesMoreThanAllOfTheTime) {
    const auto pressure = parsePressure("some avg10=100.99 avg60=100.00 avg300=99.99 total=1");
    ASSERT_TRUE(pressure);
    EXPECT_EQ(pressure->some.avg10, 100);
}

TEST(PressureStall, OfEachResourceIsItsOwn) {
    const TemporaryFolder folder;
    folder.write("proc/pressure/cpu", "some avg10=1.00 avg60=0.00 avg300=0.00 total=1\n");
    folder.write("proc/pressure/memory", "some avg10=2.00 avg60=0.00 avg300=0.00 total=2\n");
    folder.write("proc/pressure/io", "some avg10=3.00 avg60=0.00 avg300=0.00 total=3\n");
    LinuxHostService host{SystemRoot(folder.path())};
    for (const auto& [resource, total] : {std::pair(PressureResource::cpu, 1U), std::pair(PressureResource::memory, 2U),
                                          std::pair(PressureResource::io, 3U)}) {
        Pressure pressure;
        EXPECT_EQ(host.pressure(resource, pressure), Availability::available);
        EXPECT_EQ(pressure.some.total, total);
        EXPECT_EQ(pressure.some.avg10, total);
    }
}

TEST(PressureStall, ThatIsNotThereOrMakesNoSenseLeavesTheRecord) {
    const TemporaryFolder folder;
    LinuxHostService host{SystemRoot(folder.path())};
    Pressure pressure;
    pressure.some.total = 7;
    EXPECT_EQ(host.pressure(PressureResource::cpu, pressure), Availability::unsupported);
    for (const std::string& content : {std::string(), std::string("avg10"), std::string(100000, 'x')}) {
        folder.write("proc/pressure/cpu", content);
        EXPECT_EQ(host.pressure(PressureResource::cpu, pressure), Availability::failed);
    }
    EXPECT_EQ(pressure.some.total, 7U);
    folder.write("proc/pressure/cpu", both);
    EXPECT_EQ(host.pressure(PressureResource::cpu, pressure), Availability::available);
    EXPECT_EQ(pressure.some.total, 19031319175U);
}

// Keeps what is to be watched, and tells when the test says so: a file of a captured machine has no events.
class ToldByHand final : public EventSource {
public:
    std::shared_ptr<DispatchQueue> mainQueue() override { return queues_.mainQueue(); }
    std::shared_ptr<DispatchQueue> backgroundQueue() override { return queues_.backgroundQueue(); }
    std::shared_ptr<DispatchQueue> serialQueue(const std::string& name) override { return queues_.serialQueue(name); }
    void runMain(double seconds) override { queues_.runMain(seconds); }
    Observation watch(int file, std::uint32_t interest, std::function<void()> ready) override {
        if (refuses) {
            errno = ENOSPC;
            return {};
        }
        descriptor = file;
        events = interest;
        return watches.add([call = std::move(ready)](Change) { call(); });
    }
    void happen() {
        watches.post({});
        watches.tell();
    }

    bool refuses = false;
    int descriptor = -1;
    std::uint32_t events = 0;
    Observers<Change> watches;

private:
    ScriptedClock clock_;
    ScriptedDispatch queues_{clock_};
};

class PressureTrigger : public testing::Test {
protected:
    [[nodiscard]] Observation observe(const PressureThreshold& threshold) {
        return host.observePressure(PressureResource::memory, threshold, [this] { ++crossings; });
    }

    int crossings = 0;
    const TemporaryFolder folder;
    ToldByHand events;
    LinuxHostService host{SystemRoot(folder.path()), &events};
};

TEST_F(PressureTrigger, IsWrittenWithItsTerminatorAndWatchedForUrgentEvents) {
    folder.write("proc/pressure/memory", "");
    const Observation observation = observe({PressureThreshold::Kind::full, 150'000, 1'000'000});
    ASSERT_TRUE(observation);
    const std::string expected("full 150000 1000000\0", 20);
    EXPECT_EQ(SystemRoot(folder.path()).read("/proc/pressure/memory"), expected);
    EXPECT_EQ(events.events, static_cast<std::uint32_t>(EPOLLPRI));
    EXPECT_EQ(crossings, 0);
    events.happen();
    events.happen();
    EXPECT_EQ(crossings, 2);
}

TEST_F(PressureTrigger, IsKeptOpenAsLongAsItIsObserved) {
    folder.write("proc/pressure/memory", "");
    Observation observation = observe({});
    ASSERT_TRUE(observation);
    const int descriptor = events.descriptor;
    EXPECT_GE(::fcntl(descriptor, F_GETFD), 0);
    observation.reset();
    EXPECT_LT(::fcntl(descriptor, F_GETFD), 0);
    events.happen();
    EXPECT_EQ(crossings, 0);
}

TEST_F(PressureTrigger, ThatCannotBeSetOrWatchedIsNone) {
    errno = 0;
    EXPECT_FALSE(observe({}));
    EXPECT_EQ(errno, ENOENT);
    folder.write("proc/pressure/memory", "");
    events.refuses = true;
    EXPECT_FALSE(observe({}));
    EXPECT_EQ(errno, ENOSPC);
    folder.remove("proc/pressure/memory");
    folder.link("proc/pressure/memory", "/dev/full"); // takes no text, as a kernel that refuses it
    EXPECT_FALSE(observe({}));
    EXPECT_EQ(errno, ENOSPC);
    errno = 0;
    EXPECT_FALSE(LinuxHostService(SystemRoot(folder.path())).observePressure(PressureResource::cpu, {}, [] {}));
    EXPECT_EQ(errno, ENOTSUP) << "without queues";
}

} // namespace
} // namespace sentrel::platform
