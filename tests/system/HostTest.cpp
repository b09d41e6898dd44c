// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Host.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/system/System.h>

#include <cerrno>
#include <gtest/gtest.h>
#include <vector>

namespace sentrel {
namespace {

TEST(Host, AsksNothingUntilItIsAsked) {
    ScriptedMachine machine;
    const System system;
    static_cast<void>(system.host());
    for (const char* question : {"operatingSystem", "virtualization", "controlGroup", "users"})
        EXPECT_EQ(machine->host().calls.count(question), 0U) << question;
}

TEST(Host, TellsWhatTheMachineTells) {
    ScriptedMachine machine;
    machine->host().operatingSystemValue.emplace().name = "Example";
    machine->host().virtualizationValue = Virtualization{"kvm", "docker"};
    machine->host().controlGroupValue = ControlGroup{2, 1.5, 1000, 400};
    machine->host().usersValue = std::vector<LoggedInUser>{{"anna", "tty1", "", 5, 6}};
    const System system;
    EXPECT_EQ(system.host().operatingSystem(), machine->host().operatingSystemValue);
    EXPECT_EQ(system.host().virtualization(), machine->host().virtualizationValue);
    EXPECT_EQ(system.host().controlGroup(), machine->host().controlGroupValue);
    EXPECT_EQ(system.host().users(), machine->host().usersValue);
    machine->host().controlGroupValue->memoryUsed = 500;
    EXPECT_EQ(system.host().controlGroup()->memoryUsed, 500U) << "asked for each time";
}

TEST(Host, HasNothingToTellOfAMachineThatTellsNothing) {
    ScriptedMachine machine;
    const Host host;
    EXPECT_EQ(host.operatingSystem(), std::nullopt);
    EXPECT_EQ(host.virtualization(), std::nullopt);
    EXPECT_EQ(host.controlGroup(), std::nullopt);
    EXPECT_EQ(host.users(), std::nullopt);
}

TEST(Host, SaysWhyAndLeavesTheRecord) {
    ScriptedMachine machine;
    const Host host;
    OperatingSystem system;
    system.name = "before";
    Virtualization virtualization{"before", ""};
    ControlGroup group{1, {}, {}, 7};
    std::vector<LoggedInUser> users(3);
    EXPECT_EQ(host.operatingSystem(system), Availability::unsupported);
    for (const char* question : {"operatingSystem", "virtualization", "controlGroup", "users"})
        machine->host().calls.fail(question, {.error = EACCES});
    EXPECT_EQ(host.operatingSystem(system), Availability::denied);
    EXPECT_EQ(host.virtualization(virtualization), Availability::denied);
    EXPECT_EQ(host.controlGroup(group), Availability::denied);
    EXPECT_EQ(host.users(users), Availability::denied);
    EXPECT_EQ(system.name, "before");
    EXPECT_EQ(virtualization.machine, "before");
    EXPECT_EQ(group.memoryUsed, 7U);
    EXPECT_EQ(users.size(), 3U);
}

TEST(Host, FindsOutOnceWhatItIsVirtualisedBy) {
    ScriptedMachine machine;
    const Host host;
    EXPECT_EQ(host.virtualization(), std::nullopt);
    machine->host().virtualizationValue = Virtualization{"kvm", ""};
    EXPECT_EQ(host.virtualization(), (Virtualization{"kvm", ""}));
    machine->host().virtualizationValue = Virtualization{"xen", ""};
    EXPECT_EQ(host.virtualization(), (Virtualization{"kvm", ""}));
    EXPECT_EQ(machine->host().calls.count("virtualization"), 2U);
}

} // namespace
} // namespace sentrel
