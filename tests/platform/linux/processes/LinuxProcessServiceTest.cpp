// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>

#include "tests/support/Allocations.h"
#include "tests/support/EnvironmentValue.h"
#include "tests/support/linux/ProcessTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace sentrel::platform {
namespace {

constexpr std::int64_t second = 1'000'000'000;

// Clocks that stand until they are moved.
struct Times {
    std::map<std::int32_t, std::uint64_t> processes;
    std::int64_t now = second;
    std::optional<std::int64_t> sinceBoot{};
    int asked = 0;
};

class SettableClocks final : public ProcessClocks {
public:
    explicit SettableClocks(Times& times) : times_(times) {}
    std::optional<std::uint64_t> processNanoseconds(std::int32_t id) noexcept override {
        ++times_.asked;
        const auto found = times_.processes.find(id);
        return found == times_.processes.end() ? std::nullopt : std::optional<std::uint64_t>(found->second);
    }
    std::int64_t now() noexcept override { return times_.now; }
    std::optional<std::int64_t> sinceBoot() noexcept override { return times_.sinceBoot; }

private:
    Times& times_;
};

const std::uint64_t page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));

class LinuxProcessServiceTest : public testing::Test {
protected:
    std::unique_ptr<LinuxProcessService> makeService() {
        return std::make_unique<LinuxProcessService>(tree.root(), std::make_unique<SettableClocks>(times));
    }

    void put(const TreeProcess& process, std::uint64_t nanoseconds = 1000) {
        tree.put(process);
        times.processes[process.id] = nanoseconds;
    }

    static std::vector<std::int32_t> ids(const RunningApplications& applications) {
        std::vector<std::int32_t> result;
        for (const auto& application : applications)
            result.push_back(application->processIdentifier);
        return result;
    }

    // Folders of some file systems do not count their folders: every look lists them.
    [[nodiscard]] bool folderCounts() const {
        struct stat folder;
        return ::stat(tree.folder().path("proc").c_str(), &folder) == 0 && folder.st_nlink > 1;
    }

    const EnvironmentValue locale{"LC_ALL", "C"};
    const EnvironmentValue language{"LANGUAGE", std::nullopt};
    ProcessTree tree;
    Times times;
};

const TreeProcess first{.id = 1, .session = 1, .start = 1, .command = "init", .program = "/sbin/init"};
const TreeProcess player{
    .id = 100, .parent = 1, .session = 100, .start = 10, .command = "player", .program = "/usr/bin/player"};
const TreeProcess helper{
    .id = 120, .parent = 100, .session = 100, .start = 12, .command = "player", .program = "/usr/bin/player"};
const TreeProcess other{
    .id = 130, .parent = 1, .session = 130, .start = 13, .command = "other", .program = "/usr/bin/other"};

TEST_F(LinuxProcessServiceTest, GivesTheFiguresOfAProcess) {
    TreeProcess process = player;
    process.systemTicks = 20;
    process.userTicks = 31;
    process.threads = 8;
    put(process, 512'345'678);
    const auto service = makeService();
    for (const bool listed : {false, true}) {
        const std::optional<TaskInfo> info = service->taskInfo(100);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->userNanoseconds + info->systemNanoseconds, 512'345'678U) << "the clock counts, not the ticks";
        EXPECT_EQ(info->systemNanoseconds, 20 * second / static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK)));
        EXPECT_EQ(info->residentBytes, 1000 * page);
        EXPECT_EQ(info->threads, 8);
        EXPECT_EQ(info->startTime, 10U);
        if (!listed) {
            EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100}));
        }
    }
}

TEST_F(LinuxProcessServiceTest, LetsTheOtherFiguresOfAProcessThatHasNotRunStandForTenSecondsAtMost) {
    put(player, 5000);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 1U);
    ASSERT_TRUE(service->taskInfo(100));

    TreeProcess changed = player;
    changed.residentPages = 2000;
    tree.put(changed);
    EXPECT_EQ(service->taskInfo(100)->residentBytes, 1000 * page);
    times.now += 10 * second;
    EXPECT_EQ(service->taskInfo(100)->residentBytes, 2000 * page);
    changed.residentPages = 3000;
    tree.put(changed);
    times.now += 9 * second;
    EXPECT_EQ(service->taskInfo(100)->residentBytes, 2000 * page);
    times.now += second;
    EXPECT_EQ(service->taskInfo(100)->residentBytes, 3000 * page);
}

TEST_F(LinuxProcessServiceTest, ReadsTheMemoryOfAFewIdleProcessesAtEachSample) {
    std::vector<std::int32_t> crowd;
    for (std::int32_t id = 1000; id < 1320; ++id) {
        TreeProcess process = player;
        process.id = id;
        put(process);
        crowd.push_back(id);
    }
    const auto service = makeService();
    ASSERT_EQ(ids(service->runningApplications()), crowd);
    for (const std::int32_t id : crowd)
        ASSERT_TRUE(service->taskInfo(id));

    for (std::uint64_t pages = 1001; pages < 1030; ++pages) {
        for (const std::int32_t id : crowd)
            tree.folder().write("proc/" + std::to_string(id) + "/statm",
                                "2000 " + std::to_string(pages) + " 0 0 0 0 0");
        times.now += second;
        const std::ptrdiff_t read = std::count_if(crowd.begin(), crowd.end(), [&](std::int32_t id) {
            return service->taskInfo(id)->residentBytes == pages * page;
        });
        EXPECT_GE(read, 25);
        EXPECT_LE(read, 40);
    }
}

TEST_F(LinuxProcessServiceTest, ReadsAThreadOfTheKernelOnce) {
    TreeProcess thread{.id = 30, .start = 2, .command = "kworker", .isKernelThread = true};
    put(thread);
    put(player);
    const auto service = makeService();
    ASSERT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100}));
    thread.isKernelThread = false;
    thread.program = "/usr/bin/editor";
    put(thread);
    times.now += 20 * second;
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100}));
}

TEST_F(LinuxProcessServiceTest, ReadsAllFiguresOfAProcessThatRan) {
    put(player, 5000);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 1U);
    ASSERT_TRUE(service->taskInfo(100));
    TreeProcess changed = player;
    changed.residentPages = 2000;
    changed.threads = 3;
    put(changed, 5001);
    EXPECT_EQ(service->taskInfo(100)->residentBytes, 2000 * page);
    EXPECT_EQ(service->taskInfo(100)->threads, 3);
}

TEST_F(LinuxProcessServiceTest, FailsForAProcessThatEndedOrIsAZombie) {
    put(player);
    put(other);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 2U);
    ASSERT_TRUE(service->taskInfo(100) && service->taskInfo(130));

    times.processes.erase(100);
    EXPECT_FALSE(service->taskInfo(100));
    TreeProcess zombie = other;
    zombie.state = 'Z';
    put(zombie, 2000);
    EXPECT_FALSE(service->taskInfo(130));
    EXPECT_FALSE(service->parent(130));
    EXPECT_FALSE(service->taskInfo(4711));
    EXPECT_FALSE(service->parent(4711));
}

TEST_F(LinuxProcessServiceTest, FailsWhenAProcessVanishesBetweenItsClockAndItsFile) {
    put(player, 5000);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 1U);
    ASSERT_TRUE(service->taskInfo(100));
    times.processes[100] = 6000;
    tree.folder().remove("proc/100/stat");
    EXPECT_FALSE(service->taskInfo(100));
}

TEST_F(LinuxProcessServiceTest, GivesTheMemoryOfAProcessWhoseFirstThreadEnded) {
    TreeProcess process = player;
    process.state = 'Z';
    process.threads = 3;
    process.residentPages = 0;
    put(process);
    tree.folder().makeFolder("proc/100/task/100");
    tree.folder().makeFolder("proc/100/task/101");
    tree.folder().write("proc/101/statm", "2000 777 300 1 0 200 0\n"); // as the kernel answers for a thread's id
    const auto service = makeService();
    ASSERT_TRUE(service->taskInfo(100));
    EXPECT_EQ(service->taskInfo(100)->residentBytes, 777 * page);
}

TEST_F(LinuxProcessServiceTest, GivesTheParent) {
    put(helper);
    EXPECT_EQ(makeService()->parent(120), 100);
}

TEST_F(LinuxProcessServiceTest, GivesTheStartThatTheFiguresAndTheSetHave) {
    put(first);
    put(player);
    const auto service = makeService();
    const std::optional<std::uint64_t> start = service->startTime(100);
    ASSERT_TRUE(start);
    EXPECT_EQ(service->taskInfo(100)->startTime, *start);
    EXPECT_EQ(service->runningApplications().front()->startTime, *start);
    EXPECT_FALSE(service->startTime(4711));
}

TEST_F(LinuxProcessServiceTest, ListsApplicationsBeforeTheirHelpers) {
    TreeProcess early = helper;
    early.id = 50; // after the ids began anew
    put(first);
    put(early);
    put(player);
    put(helper);
    put(other);
    const RunningApplications set = makeService()->runningApplications();
    EXPECT_EQ(ids(set), (std::vector<std::int32_t>{100, 130, 50, 120}));
    EXPECT_EQ(set[0]->owner, 100);
    EXPECT_EQ(set[1]->owner, 130);
    EXPECT_EQ(set[2]->owner, 100);
    EXPECT_EQ(set[3]->owner, 100);
}

TEST_F(LinuxProcessServiceTest, ListsNothingWhileTheTwoFiguresOfTheKernelStand) {
    if (!folderCounts())
        GTEST_SKIP() << "the folder of temporary files keeps no link counts";
    put(player);
    put(other);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 2U);
    // One process in the place of another without a new id: the kernel cannot do that, and so nobody looks.
    tree.remove(130);
    put(helper);
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100, 130}));
    tree.setLastId(2000);
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100, 120}));
}

TEST_F(LinuxProcessServiceTest, AsksForAFewNewIdsInsteadOfListing) {
    if (!folderCounts())
        GTEST_SKIP() << "the folder of temporary files keeps no link counts";
    put(player);
    put(other);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 2U);
    tree.remove(130); // a listing would miss it
    TreeProcess started = other;
    started.id = 1002;
    put(started);
    TreeProcess thread = other;
    thread.id = 1003;
    tree.put(thread); // to be read, but neither listed nor with a process clock
    tree.setLastId(1005);
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100, 130, 1002}));
    EXPECT_TRUE(service->taskInfo(1002));
}

TEST_F(LinuxProcessServiceTest, ListsWhenTheFewNewIdsDoNotAccountForTheNumberOfProcesses) {
    put(player);
    put(other);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 2U);
    tree.remove(130);
    TreeProcess started = other;
    started.id = 1002;
    put(started);
    tree.setLastId(1002);
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100, 1002}));
}

TEST_F(LinuxProcessServiceTest, NoticesAnEndByTheNumberOfProcesses) {
    put(player);
    put(other);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 2U);
    tree.remove(130);
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100}));
}

TEST_F(LinuxProcessServiceTest, ListsEveryTimeWhereTheKernelTellsNoFigures) {
    put(player);
    tree.folder().remove("proc/loadavg");
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 1U);
    tree.remove(100);
    put(other);
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{130}));
}

TEST_F(LinuxProcessServiceTest, NoticesAnEndThatTheFiguresHideBecauseTheSampleFailed) {
    if (!folderCounts())
        GTEST_SKIP() << "the folder of temporary files keeps no link counts";
    put(player);
    put(other);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 2U);
    tree.remove(130); // a container: one ended inside, one started outside
    times.processes.erase(130);
    tree.folder().makeFolder("proc/outside");
    EXPECT_EQ(service->runningApplications().size(), 2U);
    EXPECT_FALSE(service->taskInfo(130));
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100}));
}

TEST_F(LinuxProcessServiceTest, DropsAnApplicationThatBecameAZombie) {
    put(player, 5000);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 1U);
    ASSERT_TRUE(service->taskInfo(100));
    TreeProcess zombie = player;
    zombie.state = 'Z';
    put(zombie, 6000);
    EXPECT_FALSE(service->taskInfo(100));
    EXPECT_TRUE(service->runningApplications().empty());
}

TEST_F(LinuxProcessServiceTest, TakesAReusedIdForANewApplication) {
    put(player);
    const auto service = makeService();
    const RunningApplications before = service->runningApplications();
    ASSERT_EQ(before.size(), 1U);
    TreeProcess reused = player;
    reused.start = 99;
    reused.command = "editor";
    reused.program = "/usr/bin/editor";
    put(reused);
    tree.setLastId(500); // all ids were given out, and a few anew
    const RunningApplications after = service->runningApplications();
    ASSERT_EQ(after.size(), 1U);
    EXPECT_FALSE(*before[0] == *after[0]);
    EXPECT_EQ(after[0]->localizedName, "editor");
    EXPECT_EQ(after[0]->startTime, 99U);
}

TEST_F(LinuxProcessServiceTest, NoticesAReusedIdThatTheFiguresHideByItsStartTime) {
    put(player, 5000);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 1U);
    ASSERT_TRUE(service->taskInfo(100));
    TreeProcess reused = player;
    reused.start = 99;
    put(reused, 6000);
    EXPECT_EQ(service->taskInfo(100)->startTime, 99U) << "the figures of the process that has the id now";
    EXPECT_EQ(service->runningApplications()[0]->startTime, 99U);
}

TEST_F(LinuxProcessServiceTest, LooksAtANewProcessAgainHalfASecondLater) {
    put(player);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 1U);
    put(helper); // between fork and exec: still its parent's program
    tree.setLastId(1001);
    ASSERT_EQ(service->runningApplications()[1]->owner, 100);
    TreeProcess executed = helper;
    executed.command = "viewer";
    executed.program = "/usr/bin/viewer";
    executed.group = "/user.slice/app-org.example.Viewer-120.scope";
    put(executed);
    EXPECT_EQ(service->runningApplications()[1]->owner, 100) << "nothing tells, and it is too early";
    times.now += second / 2;
    const RunningApplications set = service->runningApplications();
    EXPECT_EQ(set[1]->owner, 120);
    EXPECT_EQ(set[1]->localizedName, "viewer");
    EXPECT_EQ(set[1]->bundleIdentifier, "org.example.Viewer");
}

TEST_F(LinuxProcessServiceTest, KeepsTheIdentityOfAnApplicationThatRunsAnotherProgram) {
    put(player, 5000);
    const auto service = makeService();
    const RunningApplications before = service->runningApplications();
    ASSERT_EQ(before.size(), 1U);
    TreeProcess executed = player;
    executed.command = "viewer";
    executed.program = "/usr/bin/viewer";
    put(executed, 6000);
    ASSERT_TRUE(service->taskInfo(100));
    const RunningApplications after = service->runningApplications();
    ASSERT_EQ(after.size(), 1U);
    EXPECT_TRUE(*before[0] == *after[0]);
    EXPECT_NE(before[0], after[0]);
    EXPECT_EQ(before[0]->localizedName, "player");
    EXPECT_EQ(after[0]->localizedName, "viewer");
}

TEST_F(LinuxProcessServiceTest, NoticesWithinTenSecondsThatAShellBecameAProgram) {
    const TreeProcess shell{.id = 100,
                            .parent = 1,
                            .session = 100,
                            .terminal = 34816,
                            .start = 10,
                            .command = "bash",
                            .program = "/usr/bin/bash"};
    put(shell);
    const auto service = makeService();
    ASSERT_TRUE(service->runningApplications().empty());
    TreeProcess executed = shell;
    executed.command = "player";
    executed.program = "/usr/bin/player";
    put(executed);
    times.now += 9 * second;
    EXPECT_TRUE(service->runningApplications().empty());
    times.now += second;
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100}));
}

const TreeProcess script{
    .id = 200, .parent = 1, .session = 200, .start = 20, .command = "backup.sh", .program = "/usr/bin/bash"};
const TreeProcess command{
    .id = 201, .parent = 200, .session = 200, .start = 21, .command = "cp", .program = "/usr/bin/cp"};

TEST_F(LinuxProcessServiceTest, ListsAScriptThatComputesForTenSecondsAfterItLastDid) {
    put(script, 1000);
    put(command);
    const auto service = makeService();
    ASSERT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{201}));
    const auto sample = [&](std::int64_t milliseconds) {
        times.now += 2 * second;
        times.processes[200] += static_cast<std::uint64_t>(milliseconds) * 1'000'000;
        return ids(service->runningApplications());
    };
    EXPECT_EQ(sample(19), (std::vector<std::int32_t>{201})) << "less than a hundredth of the time";
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(sample(20), (std::vector<std::int32_t>{200, 201}));
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(sample(0), (std::vector<std::int32_t>{200, 201}));
    EXPECT_EQ(sample(0), (std::vector<std::int32_t>{201}));
}

TEST_F(LinuxProcessServiceTest, JudgesAScriptThatItMeetsByItsWholeLife) {
    const std::int64_t tick = second / ::sysconf(_SC_CLK_TCK);
    times.sinceBoot = 20 * tick + 100 * second;
    put(command);
    put(script, static_cast<std::uint64_t>(second));
    EXPECT_EQ(ids(makeService()->runningApplications()), (std::vector<std::int32_t>{200, 201}));
    put(script, static_cast<std::uint64_t>(second) - 1);
    EXPECT_EQ(ids(makeService()->runningApplications()), (std::vector<std::int32_t>{201}));
    times.sinceBoot = 20 * tick + second / 10;
    put(script, 19'000'000);
    EXPECT_EQ(ids(makeService()->runningApplications()), (std::vector<std::int32_t>{201})) << "it only started";
}

// It was read again after 10 s.
TEST_F(LinuxProcessServiceTest, NoticesAtTheNextLookThatALauncherRunsItsProgram) {
    put(script);
    put(command);
    const auto service = makeService();
    ASSERT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{201}));
    TreeProcess executed = script;
    executed.command = "player";
    executed.program = "/usr/bin/player";
    put(executed, 2000);
    times.now += second;
    const RunningApplications set = service->runningApplications();
    ASSERT_EQ(ids(set), (std::vector<std::int32_t>{200, 201}));
    EXPECT_EQ(set[0]->localizedName, "player");
}

TEST_F(LinuxProcessServiceTest, NamesALogInByWhoseItIs) {
    for (const std::string program : {"sshd", "sshd-session"}) {
        put({.id = 100, .command = program, .arguments = {program + ": user@notty"}});
        const auto service = makeService();
        EXPECT_TRUE(service->runningApplications().empty());
        times.now += second;
        times.processes[100] += static_cast<std::uint64_t>(second) / 2;
        const RunningApplications set = service->runningApplications();
        ASSERT_EQ(set.size(), 1U);
        EXPECT_EQ(set[0]->localizedName, program + ": user@notty");
    }
}

TEST_F(LinuxProcessServiceTest, GivesAHelperItsOwnEntryWhenItsApplicationEnds) {
    put(first);
    put(player);
    put(helper);
    const auto service = makeService();
    ASSERT_EQ(service->runningApplications().size(), 2U);
    tree.remove(100);
    TreeProcess orphan = helper;
    orphan.parent = 1;
    put(orphan);
    const RunningApplications set = service->runningApplications();
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set[0]->owner, 120);
}

TEST_F(LinuxProcessServiceTest, NamesAnApplicationAsItsDesktopEntryDoes) {
    tree.folder().write("usr/share/applications/org.example.Notes.desktop",
                        "[Desktop Entry]\nName=Notes\nName[de]=Notizen\nIcon=notes-icon\n");
    TreeProcess process = player;
    process.group = "/user.slice/app-gnome-org.example.Notes-100.scope";
    put(process);
    const EnvironmentValue shared("XDG_DATA_DIRS", std::nullopt);
    const EnvironmentValue german("LANGUAGE", "de");
    const EnvironmentValue any("LC_ALL", "de_DE.UTF-8");
    const RunningApplications set = makeService()->runningApplications();
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set[0]->localizedName, "Notizen");
    EXPECT_EQ(set[0]->bundleIdentifier, "org.example.Notes");
    EXPECT_EQ(set[0]->icon, Icon::named("notes-icon"));
}

TEST_F(LinuxProcessServiceTest, TakesAnAbsolutePathForAnImageFile) {
    tree.folder().write("usr/share/applications/org.example.Notes.desktop",
                        "[Desktop Entry]\nName=Notes\nIcon=/opt/notes/icon.png\n");
    TreeProcess process = player;
    process.group = "/user.slice/app-gnome-org.example.Notes-100.scope";
    put(process);
    const EnvironmentValue shared("XDG_DATA_DIRS", std::nullopt);
    const RunningApplications set = makeService()->runningApplications();
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set[0]->icon, Icon::atPath("/opt/notes/icon.png"));
}

TEST_F(LinuxProcessServiceTest, NamesAnApplicationWithoutAnEntryAsItsProgram) {
    struct Case {
        TreeProcess process;
        std::string name;
    };
    const std::vector<Case> cases{
        {{.id = 100, .command = "player", .program = "/usr/bin/player"}, "player"},
        {{.id = 100, .command = "a-very-long-pro", .program = "/opt/a-very-long-program"}, "a-very-long-program"},
        {{.id = 100,
          .command = "backup.py",
          .program = "/usr/bin/python3.11",
          .arguments = {"/usr/bin/python3", "/srv/backup.py", "-v"}},
         "backup.py"},
        {{.id = 100,
          .command = "a-very-long-scr",
          .program = "/usr/bin/perl",
          .arguments = {"perl", "-w", "/srv/a-very-long-script"}},
         "a-very-long-script"},
        {{.id = 100, .command = "python3", .program = "/usr/bin/python3.11", .arguments = {"python3", "-c", "pass"}},
         "python3"},
        {{.id = 100, .command = "MainThread", .program = "/usr/bin/node", .arguments = {"node", "app.js"}}, "node"},
        {{.id = 100, .command = "hidden"}, "hidden"}};
    for (const Case& one : cases) {
        put(one.process);
        const RunningApplications set = makeService()->runningApplications();
        ASSERT_EQ(set.size(), 1U) << one.name;
        EXPECT_EQ(set[0]->localizedName, one.name);
        EXPECT_FALSE(set[0]->bundleIdentifier);
        EXPECT_FALSE(set[0]->icon);
    }
}

TEST_F(LinuxProcessServiceTest, TellsObserversOfAChangeWhenItIsAskedToLook) {
    put(player);
    const auto service = makeService();
    std::vector<std::vector<std::int32_t>> heard;
    const auto observation = service->observeRunningApplications(
        [&](const RunningApplications& applications) { heard.push_back(ids(applications)); });
    EXPECT_TRUE(heard.empty());
    service->refreshRunningApplications();
    service->refreshRunningApplications();
    put(other);
    tree.setLastId(1001);
    EXPECT_EQ(heard.size(), 1U) << "nobody looked yet";
    service->refreshRunningApplications();
    EXPECT_EQ(heard, (std::vector<std::vector<std::int32_t>>{{100}, {100, 130}}));
}

TEST_F(LinuxProcessServiceTest, TellsOfAChangeThatSomeoneElsesLookNoticed) {
    put(player);
    const auto service = makeService();
    int heard = 0;
    const auto observation = service->observeRunningApplications([&](const RunningApplications&) { ++heard; });
    service->refreshRunningApplications();
    put(other);
    tree.setLastId(1001);
    EXPECT_EQ(service->runningApplications().size(), 2U);
    service->refreshRunningApplications();
    EXPECT_EQ(heard, 2);
}

TEST_F(LinuxProcessServiceTest, CallsNoObserverAfterItsRelease) {
    put(player);
    const auto service = makeService();
    int heard = 0;
    auto observation = service->observeRunningApplications([&](const RunningApplications&) { ++heard; });
    observation.reset();
    service->refreshRunningApplications();
    EXPECT_EQ(heard, 0);
}

// An observer ran under the lock of the list, and so could neither release itself nor ask the service for anything.
TEST_F(LinuxProcessServiceTest, AllowsEverythingInsideAnObserver) {
    put(player);
    const auto service = makeService();
    std::vector<std::vector<std::int32_t>> heard;
    Observation another;
    Observation observation;
    observation = service->observeRunningApplications([&](const RunningApplications& applications) {
        heard.push_back(ids(applications));
        if (heard.size() == 2)
            observation.reset();
        if (another)
            return;
        another = service->observeRunningApplications([](const RunningApplications&) {});
        put(helper);
        tree.setLastId(1001);
        service->refreshRunningApplications();
        EXPECT_EQ(service->runningApplications().size(), 2U);
        EXPECT_EQ(heard.size(), 1U) << "one call at a time";
    });
    service->refreshRunningApplications();
    EXPECT_EQ(heard, (std::vector<std::vector<std::int32_t>>{{100}, {100, 120}}));
    put(other);
    tree.setLastId(1002);
    service->refreshRunningApplications();
    EXPECT_EQ(heard.size(), 2U);
}

// What is read again, a launcher that ran or one that is due, took memory for its texts.
TEST_F(LinuxProcessServiceTest, TakesNoMemoryForASampleOnceWarm) {
    TreeProcess manager = first;
    manager.id = 40;
    manager.command = "systemd";
    manager.program = "/usr/lib/systemd/systemd-executor";
    manager.group = "/user.slice/app-org.example.ALongName-40.scope";
    for (const TreeProcess& process : {first, manager, player, helper, other, script, command})
        put(process);
    const auto service = makeService();
    const auto observation = service->observeRunningApplications([](const RunningApplications&) {});
    const auto sample = [&] {
        times.now += 1'300'000'000;
        for (auto& [id, nanoseconds] : times.processes)
            nanoseconds += 1'000'000;
        service->refreshRunningApplications();
        for (const auto& [id, nanoseconds] : times.processes)
            static_cast<void>(service->taskInfo(id));
    };
    for (int i = 0; i < 20; ++i)
        sample();
    const std::size_t before = allocations();
    for (int i = 0; i < 20; ++i)
        sample();
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

TEST_F(LinuxProcessServiceTest, SurvivesAnObserverThatOutlivesIt) {
    auto service = makeService();
    const auto observation = service->observeRunningApplications([](const RunningApplications&) {});
    service.reset();
}

TEST_F(LinuxProcessServiceTest, HasNothingToTellWithoutAProc) {
    const TemporaryFolder empty;
    LinuxProcessService service{SystemRoot(empty.path())};
    EXPECT_TRUE(service.runningApplications().empty());
    EXPECT_FALSE(service.taskInfo(100));
    EXPECT_FALSE(service.parent(100));
}

TEST_F(LinuxProcessServiceTest, TakesTheTimesOfACapturedMachineFromItsFiles) {
    TreeProcess process = player;
    process.userTicks = 100;
    process.systemTicks = 50;
    tree.put(process);
    LinuxProcessService service(tree.root());
    const std::optional<TaskInfo> info = service.taskInfo(100);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->userNanoseconds + info->systemNanoseconds,
              150 * second / static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK)));
}

TEST_F(LinuxProcessServiceTest, HidesOtherUsersProcessesFromAnUnprivilegedCaller) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to become somebody else";
    put(player);
    put(other);
    ASSERT_EQ(::chmod(tree.folder().path().c_str(), 0755), 0);
    ASSERT_EQ(::chown(tree.folder().path("proc/130").c_str(), 65534, 65534), 0);
    ASSERT_EQ(::seteuid(65534), 0);
    {
        const auto service = makeService();
        EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{130}));
        EXPECT_TRUE(service->taskInfo(130));
        EXPECT_EQ(service->parent(130), 1);
        EXPECT_FALSE(service->taskInfo(100));
        EXPECT_FALSE(service->parent(100));
    }
    ASSERT_EQ(::seteuid(0), 0);
}

TEST_F(LinuxProcessServiceTest, KeepsAPlaceForAProcessWhoseFilesAreClosed) {
    put(player);
    put(other);
    tree.folder().remove("proc/130/stat");
    const auto service = makeService();
    EXPECT_EQ(ids(service->runningApplications()), (std::vector<std::int32_t>{100}));
    EXPECT_FALSE(service->taskInfo(130));
    EXPECT_FALSE(service->parent(130));
}

} // namespace
} // namespace sentrel::platform
