// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/CpuTopology.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

constexpr const char* cpuFolder = "sys/devices/system/cpu/";

// A machine's processor folder, written file by file.
class Machine {
public:
    Machine& with(const std::string& file, const std::string& content) {
        folder_.write(cpuFolder + file, content);
        return *this;
    }

    Machine& withSiblings(const std::vector<std::pair<int, std::string>>& lists,
                          const std::string& name = "core_cpus_list") {
        for (const auto& [processor, list] : lists)
            with("cpu" + std::to_string(processor) + "/topology/" + name, list + "\n");
        return *this;
    }

    Machine& withCpuInfo(const std::string& content) {
        folder_.write("proc/cpuinfo", content);
        return *this;
    }

    [[nodiscard]] std::optional<CpuTopology> read() const { return readCpuTopology(SystemRoot(folder_.path())); }

private:
    TemporaryFolder folder_;
};

TEST(CpuTopology, CountsCoresAndTheirThreads) {
    Machine machine;
    machine.with("possible", "0-7\n").with("present", "0-7\n").with("online", "0-7\n").with("smt/control", "on\n");
    machine.withSiblings(
        {{0, "0,4"}, {1, "1,5"}, {2, "2,6"}, {3, "3,7"}, {4, "0,4"}, {5, "1,5"}, {6, "2,6"}, {7, "3,7"}});
    EXPECT_EQ(machine.read(), (CpuTopology{8, 8, 8, 4, 4}));
}

TEST(CpuTopology, CountsCoresOfTwoKinds) {
    Machine machine;
    machine.with("possible", "0-5\n").with("present", "0-5\n").with("online", "0-5\n").with("smt/control", "on\n");
    machine.withSiblings({{0, "0-1"}, {1, "0-1"}, {2, "2-3"}, {3, "2-3"}, {4, "4"}, {5, "5"}});
    EXPECT_EQ(machine.read(), (CpuTopology{6, 6, 6, 4, 4}));
}

TEST(CpuTopology, ReadsTheSiblingsOfOldKernels) {
    Machine machine;
    machine.with("possible", "0-1").with("present", "0-1").with("online", "0-1");
    machine.withSiblings({{0, "0-1"}, {1, "0-1"}}, "thread_siblings_list");
    EXPECT_EQ(machine.read(), (CpuTopology{2, 2, 2, 1, 1}));
}

// The kernel forgets the topology of a processor that is offline.
TEST(CpuTopology, TellsOnlineFromPresentWhenThreadsAreOffline) {
    Machine machine;
    machine.with("possible", "0-7").with("present", "0-7").with("online", "0-2,4-6").with("smt/control", "on");
    machine.withSiblings({{0, "0,4"}, {1, "1,5"}, {2, "2,6"}, {4, "0,4"}, {5, "1,5"}, {6, "2,6"}});
    EXPECT_EQ(machine.read(), (CpuTopology{8, 8, 6, 4, 3}));
}

TEST(CpuTopology, KnowsTheCoresOfAMachineWhoseSecondThreadsAreSwitchedOff) {
    for (const char* control : {"off", "forceoff", "on"}) {
        Machine machine;
        machine.with("possible", "0-7").with("present", "0-7").with("online", "0-3").with("smt/control", control);
        machine.withSiblings({{0, "0"}, {1, "1"}, {2, "2"}, {3, "3"}});
        EXPECT_EQ(machine.read(), (CpuTopology{8, 8, 4, 4, 4})) << control;
    }
}

TEST(CpuTopology, TakesOfflineProcessorsWithoutThreadsForCores) {
    for (const char* control : {"notsupported", "notimplemented"}) {
        Machine machine;
        machine.with("possible", "0-3").with("present", "0-3").with("online", "0-1").with("smt/control", control);
        machine.withSiblings({{0, "0"}, {1, "1"}});
        EXPECT_EQ(machine.read(), (CpuTopology{4, 4, 2, 4, 2})) << control;
    }
}

TEST(CpuTopology, TakesTheMachinesProcessorsFromThosePresentNotFromThoseReserved) {
    Machine machine;
    machine.with("possible", "0-127").with("present", "0-3").with("online", "0-3");
    machine.withSiblings({{0, "0-1"}, {1, "0-1"}, {2, "2-3"}, {3, "2-3"}});
    EXPECT_EQ(machine.read(), (CpuTopology{128, 4, 4, 2, 2}));
}

TEST(CpuTopology, TakesThemFromThosePossibleWhereNothingElseTells) {
    Machine machine;
    machine.with("possible", "0-7").with("online", "0-3");
    machine.withSiblings({{0, "0-1"}, {1, "0-1"}, {2, "2-3"}, {3, "2-3"}});
    EXPECT_EQ(machine.read(), (CpuTopology{8, 8, 4, 4, 2}));
}

TEST(CpuTopology, CountsIsolatedProcessorsAsOnline) {
    Machine machine;
    machine.with("possible", "0-3").with("present", "0-3").with("online", "0-3").with("isolated", "2-3");
    machine.withSiblings({{0, "0"}, {1, "1"}, {2, "2"}, {3, "3"}});
    EXPECT_EQ(machine.read(), (CpuTopology{4, 4, 4, 4, 4}));
}

TEST(CpuTopology, TakesTheCoresFromCpuinfoWhereTheTopologyFilesAreMissing) {
    Machine machine;
    machine.with("online", "0-3");
    machine.withCpuInfo(
        "processor\t: 0\nphysical id\t: 0\ncore id\t: 0\n\nprocessor\t: 1\nphysical id\t: 0\ncore id\t: 1\n\n"
        "processor\t: 2\nphysical id\t: 0\ncore id\t: 0\n\nprocessor\t: 3\nphysical id\t: 1\ncore id\t: 1\n");
    EXPECT_EQ(machine.read(), (CpuTopology{4, 4, 4, 3, 3}));
}

TEST(CpuTopology, TakesEverythingFromCpuinfoWhereThereIsNoProcessorFolder) {
    Machine machine;
    machine.withCpuInfo("processor\t: 0\ncore id\t: 0\n\nprocessor\t: 1\ncore id\t: 0\n");
    EXPECT_EQ(machine.read(), (CpuTopology{2, 2, 2, 1, 1}));
}

TEST(CpuTopology, TakesEachProcessorForACoreWhereNothingTells) {
    Machine machine;
    machine.withCpuInfo("processor\t: 0\n\nprocessor\t: 1\n");
    EXPECT_EQ(machine.read(), (CpuTopology{2, 2, 2, 2, 2}));
}

TEST(CpuTopology, IsAbsentWhereNothingTellsWhichProcessorsAreOnline) {
    Machine machine;
    EXPECT_FALSE(machine.read());
    machine.with("online", "").withCpuInfo("");
    EXPECT_FALSE(machine.read());
    machine.with("online", "junk").with("possible", "0-3");
    EXPECT_FALSE(machine.read());
}

TEST(CpuTopology, NeverHasFewerProcessorsThanAreOnline) {
    Machine machine;
    machine.with("possible", "0").with("present", "junk").with("online", "0-3");
    EXPECT_EQ(machine.read(), (CpuTopology{4, 4, 4, 4, 4}));
}

} // namespace
} // namespace sentrel::platform
