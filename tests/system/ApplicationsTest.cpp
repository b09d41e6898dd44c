// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Applications.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include "tests/support/Allocations.h"
#include "tests/support/Await.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

using platform::RunningApplication;
using platform::TaskInfo;

class ApplicationsTest : public testing::Test {
protected:
    ApplicationsTest() { setCores(4); }

    void setCores(std::int32_t cores) {
        platform::host_basic_info info{};
        info.logical_cpu = cores;
        machine->host().hostInfoValue = info;
    }

    // An application with one thread; its parent is the launcher unless told otherwise.
    void launch(std::int32_t id, const std::string& name, std::int32_t parent = 1) {
        machine->processes().setParent(id, parent);
        machine->processes().setTaskInfo(id, TaskInfo{.residentBytes = 1000, .threads = 1, .startTime = start});
        machine->processes().launch({.processIdentifier = id, .startTime = start, .localizedName = name});
    }

    // What the process has used in all, in milliseconds.
    void use(std::int32_t id, std::uint64_t milliseconds, std::int32_t threads = 1, std::uint64_t bytes = 1000) {
        machine->processes().setTaskInfo(id, TaskInfo{.userNanoseconds = milliseconds * 1'000'000,
                                                      .residentBytes = bytes,
                                                      .threads = threads,
                                                      .startTime = start});
    }

    void sampleAfter(Applications& applications, double seconds) {
        machine->advance(seconds);
        applications.update();
    }

    static std::shared_ptr<const Applications::Process> find(const Applications& applications, std::int32_t id) {
        for (const auto& process : applications.cpu()) {
            if (process->pid() == id)
                return process;
        }
        for (const auto& process : applications.mem()) {
            if (process->pid() == id)
                return process;
        }
        return nullptr;
    }

    static constexpr std::uint64_t start = 7;
    ScriptedMachine machine;
};

TEST_F(ApplicationsTest, IsTheResourceOfItsKind) {
    Applications applications;
    EXPECT_EQ(applications.type(), SystemResourceType::app);
    EXPECT_EQ(applications.count(), 0);
    EXPECT_TRUE(applications.cpu().empty());
    EXPECT_TRUE(applications.mem().empty());
}

TEST_F(ApplicationsTest, SamplesWithoutAllocating) {
    for (std::int32_t id = 100; id < 120; ++id)
        launch(id, "a name that is too long to be kept in place");
    launch(200, "Somebody Else's Mail Web Content"); // whose owner is looked for at each sample
    Applications applications;
    ASSERT_EQ(applications.unresolvedNamedProcesses(), 1);
    const auto token = applications.observeCount([](std::int64_t) {});
    std::size_t taken = 0;
    for (std::uint64_t round = 1; round <= 64; ++round) {
        for (std::int32_t id = 100; id < 120; ++id)
            use(id, round * static_cast<std::uint64_t>(id));
        machine->advance(1.3);
        const std::size_t before = allocations();
        applications.update();
        if (round > 2)
            taken += allocations() - before;
    }
    if (countsAllocations) {
        EXPECT_EQ(taken, 0U);
    }
}

using Measure = Applications::Measure;

TEST_F(ApplicationsTest, AsksForFurtherFactsOnlyWhileTheyAreWanted) {
    launch(100, "a");
    machine->processes().setFacts(100, {.storageBytes = platform::StorageBytes{0, 0}, .openFiles = 4});
    Applications applications;
    sampleAfter(applications, 1);
    const auto process = find(applications, 100);
    const auto& calls = machine->processes().calls;
    EXPECT_EQ(calls.count("storageBytes") + calls.count("openFiles"), 0U);
    EXPECT_TRUE(applications.all().empty());
    EXPECT_FALSE(process->threads());
    EXPECT_FALSE(process->openFiles());
    EXPECT_FALSE(applications.availability(Measure::all));

    applications.setMeasures({Measure::threads, Measure::files});
    EXPECT_EQ(applications.measures(), (MeasureSet{Measure::threads, Measure::files}));
    EXPECT_FALSE(applications.availability(Measure::files)) << "not sampled yet";
    sampleAfter(applications, 1);
    EXPECT_EQ(process->threads(), 1);
    EXPECT_EQ(process->openFiles(), 4U);
    EXPECT_EQ(applications.availability(Measure::files), Availability::available);
    EXPECT_EQ(calls.count("storageBytes"), 0U);
    EXPECT_TRUE(applications.all().empty());

    applications.setMeasures({});
    sampleAfter(applications, 1);
    EXPECT_FALSE(process->threads());
    EXPECT_FALSE(process->openFiles());
    EXPECT_EQ(calls.count("openFiles"), 1U);
}

TEST_F(ApplicationsTest, GivesEveryTrackedProcessWhereThatIsWanted) {
    for (std::int32_t id = 100; id < 110; ++id)
        launch(id, "a");
    Applications applications;
    applications.setMeasures({Measure::all});
    EXPECT_TRUE(applications.all().empty());
    sampleAfter(applications, 1);
    EXPECT_EQ(applications.all().size(), 10U);
    EXPECT_EQ(applications.cpu().size(), 3U);
    machine->processes().terminate(105);
    sampleAfter(applications, 1);
    const auto all = applications.all();
    EXPECT_EQ(all.size(), 9U);
    EXPECT_TRUE(std::none_of(all.begin(), all.end(), [](const auto& process) { return process->pid() == 105; }));
    applications.setMeasures({});
    EXPECT_TRUE(applications.all().empty()) << "at once";
}

TEST_F(ApplicationsTest, MakesRatesOfWhatAProcessReadAndWrote) {
    launch(100, "a");
    const auto storage = [&](std::uint64_t read, std::uint64_t written) {
        machine->processes().setFacts(100, {.storageBytes = platform::StorageBytes{read, written}});
    };
    Applications applications;
    sampleAfter(applications, 1);
    const auto process = find(applications, 100);
    applications.setMeasures({Measure::storage});
    storage(1000, 5000);
    sampleAfter(applications, 1);
    EXPECT_FALSE(process->readPerSecond()) << "the first sample";
    EXPECT_EQ(applications.availability(Measure::storage), Availability::available);
    storage(3000, 5000);
    sampleAfter(applications, 2);
    EXPECT_EQ(process->readPerSecond(), 1000);
    EXPECT_EQ(process->writtenPerSecond(), 0);
    storage(2000, 6000);
    sampleAfter(applications, 1);
    EXPECT_FALSE(process->readPerSecond()) << "a counter that went back";
    EXPECT_EQ(process->writtenPerSecond(), 1000);
    machine->processes().calls.fail("storageBytes", {.error = EACCES});
    sampleAfter(applications, 1);
    EXPECT_FALSE(process->writtenPerSecond());
    EXPECT_EQ(applications.availability(Measure::storage), Availability::denied);
    machine->processes().calls.succeed();
    sampleAfter(applications, 1);
    EXPECT_FALSE(process->writtenPerSecond()) << "the first sample after the gap";
    sampleAfter(applications, 1);
    EXPECT_EQ(process->writtenPerSecond(), 0);

    // Turned off and on between two samples: the time in between is not one sample's.
    applications.setMeasures({});
    applications.setMeasures({Measure::storage});
    storage(9000, 9000);
    sampleAfter(applications, 1);
    EXPECT_FALSE(process->readPerSecond());
    sampleAfter(applications, 1);
    EXPECT_EQ(process->readPerSecond(), 0);
}

TEST_F(ApplicationsTest, HasNoFurtherFactsOfAProcessThatCannotBeReadAnyMore) {
    launch(100, "a");
    launch(101, "b");
    machine->processes().setFacts(100, {.storageBytes = platform::StorageBytes{0, 0}, .openFiles = 4});
    Applications applications;
    applications.setMeasures({Measure::storage, Measure::files, Measure::threads});
    sampleAfter(applications, 1);
    sampleAfter(applications, 1);
    const auto process = find(applications, 100);
    EXPECT_EQ(process->readPerSecond(), 0);
    EXPECT_FALSE(find(applications, 101)->readPerSecond()) << "another user's, say";
    EXPECT_EQ(applications.availability(Measure::storage), Availability::available) << "one of them is enough";
    machine->processes().setTaskInfo(100, std::nullopt); // it ended: the id may be another's
    sampleAfter(applications, 1);
    EXPECT_FALSE(process->readPerSecond());
    EXPECT_FALSE(process->openFiles());
    EXPECT_FALSE(process->threads());
    EXPECT_EQ(applications.availability(Measure::storage), Availability::unsupported);
}

TEST_F(ApplicationsTest, LooksTheNamesOfUsersUpBehindTheReadersBack) {
    auto& processes = machine->processes();
    processes.setUserName(1000, "anna");
    const Applications applications;
    const auto lookUps = [&] { return processes.calls.count("userName"); };
    EXPECT_FALSE(applications.userName(1000)) << "not known yet";
    EXPECT_FALSE(applications.userName(1001));
    EXPECT_FALSE(applications.userName(1000));
    EXPECT_EQ(lookUps(), 0U) << "the reader waits for nothing";
    machine->advance(0);
    EXPECT_EQ(applications.userName(1000), "anna");
    EXPECT_FALSE(applications.userName(1001)) << "there is none";
    machine->advance(0);
    EXPECT_EQ(lookUps(), 2U) << "each is looked up once";

    processes.calls.fail("userName", {.error = EIO});
    EXPECT_FALSE(applications.userName(7));
    machine->advance(0);
    processes.calls.succeed();
    processes.setUserName(7, "lp");
    EXPECT_FALSE(applications.userName(7)) << "asked again: the directory failed";
    machine->advance(0);
    EXPECT_EQ(applications.userName(7), "lp");
    EXPECT_EQ(applications.userName(1000), "anna");
}

TEST_F(ApplicationsTest, EndsWhileTheNameOfAUserIsLookedUp) {
    {
        const Applications applications;
        EXPECT_FALSE(applications.userName(1000));
    }
    machine->advance(0);
    EXPECT_EQ(machine->processes().calls.count("userName"), 1U);
}

TEST_F(ApplicationsTest, TellsWhoseAProcessIsAndItsWordsWhenAsked) {
    launch(100, "a");
    Applications applications;
    sampleAfter(applications, 1);
    const auto process = find(applications, 100);
    platform::ProcessIdentity identity;
    std::vector<std::string> words{"before"};
    EXPECT_EQ(applications.identity(*process, identity), Availability::unsupported);
    machine->processes().setFacts(100, {.identity = platform::ProcessIdentity{.started = 1700000000, .user = 1000},
                                        .commandLine = std::vector<std::string>{"a", "-v"}});
    machine->processes().setStartTime(100, start);
    EXPECT_EQ(applications.identity(*process, identity), Availability::available);
    EXPECT_EQ(identity.started, 1700000000);
    EXPECT_EQ(identity.user, 1000U);
    EXPECT_EQ(applications.commandLine(*process, words), Availability::available);
    EXPECT_EQ(words, (std::vector<std::string>{"a", "-v"}));

    machine->processes().setStartTime(100, start + 1); // the id is another's by now
    identity = {};
    words = {"before"};
    EXPECT_EQ(applications.identity(*process, identity), Availability::unsupported);
    EXPECT_EQ(applications.commandLine(*process, words), Availability::unsupported);
    EXPECT_EQ(identity, platform::ProcessIdentity{});
    EXPECT_EQ(words, std::vector<std::string>{"before"});
    machine->processes().calls.fail("commandLine", {.error = EPERM});
    EXPECT_EQ(applications.commandLine(*process, words), Availability::denied);
}

TEST_F(ApplicationsTest, SamplesEverythingWithoutAllocating) {
    for (std::int32_t id = 100; id < 120; ++id) {
        launch(id, "a");
        machine->processes().setFacts(id, {.storageBytes = platform::StorageBytes{0, 0}, .openFiles = 4});
    }
    Applications applications;
    applications.setMeasures({Measure::all, Measure::threads, Measure::storage, Measure::files});
    std::vector<std::shared_ptr<const Applications::Process>> list;
    std::size_t taken = 0;
    for (int round = 0; round < 40; ++round) {
        machine->advance(1.3);
        const std::size_t before = allocations();
        applications.update();
        applications.all(list);
        if (round > 2)
            taken += allocations() - before;
    }
    if (countsAllocations) {
        EXPECT_EQ(taken, 0U);
    }
    EXPECT_EQ(list.size(), 20U);
}

TEST_F(ApplicationsTest, GivesTheThreeGreatestSharesTheGreatestFirst) {
    for (const std::int32_t id : {100, 101, 102, 103})
        launch(id, "a");
    Applications applications;
    use(100, 55);
    use(101, 220);
    use(102, 550);
    use(103, 220);
    sampleAfter(applications, 1.1);
    const auto top = applications.cpu();
    ASSERT_EQ(top.size(), 3U);
    EXPECT_EQ(top[0]->pid(), 102);
    EXPECT_DOUBLE_EQ(top[0]->cpu(), 50);
    EXPECT_DOUBLE_EQ(top[1]->cpu(), 20);
    EXPECT_DOUBLE_EQ(top[2]->cpu(), 20);
}

TEST_F(ApplicationsTest, GivesBothOfTwo) {
    launch(100, "a");
    launch(101, "b");
    Applications applications;
    EXPECT_EQ(applications.cpu().size(), 2U);
    EXPECT_EQ(applications.mem().size(), 2U);
}

TEST_F(ApplicationsTest, GivesTheThreeThatHoldTheMostMemory) {
    for (const std::int32_t id : {100, 101, 102, 103})
        launch(id, "a");
    Applications applications;
    use(100, 0, 1, 500);
    use(101, 0, 1, 0xFFFF'FFFF'FFFF);
    use(102, 0, 1, 400);
    use(103, 0, 1, 600);
    sampleAfter(applications, 1.1);
    const auto top = applications.mem();
    ASSERT_EQ(top.size(), 3U);
    EXPECT_EQ(top[0]->mem(), 0xFFFF'FFFF'FFFFU);
    EXPECT_EQ(top[1]->mem(), 600U);
    EXPECT_EQ(top[2]->mem(), 500U);
}

TEST_F(ApplicationsTest, MeasuresOneThreadAgainstOneCore) {
    launch(100, "a");
    Applications applications;
    use(100, 550);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(applications.cpu()[0]->cpu(), 50);
}

TEST_F(ApplicationsTest, MeasuresManyThreadsAgainstTheActiveCores) {
    launch(100, "a");
    Applications applications;
    use(100, 2200, 8);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(applications.cpu()[0]->cpu(), 50);
}

TEST_F(ApplicationsTest, MeasuresFewThreadsAgainstAsManyCores) {
    launch(100, "a");
    Applications applications;
    use(100, 1100, 2);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(applications.cpu()[0]->cpu(), 50);
}

TEST_F(ApplicationsTest, TakesOneCoreForGrantedWhereTheHostCannotBeDescribed) {
    machine->host().calls.fail("hostInfo");
    launch(100, "a");
    Applications applications;
    use(100, 550, 8);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(applications.cpu()[0]->cpu(), 50);
}

TEST_F(ApplicationsTest, MeasuresANewProcessFromItsFirstReading) {
    launch(100, "a");
    use(100, 100'000);
    Applications applications;
    EXPECT_EQ(applications.cpu()[0]->cpu(), 0);
    EXPECT_EQ(applications.cpu()[0]->mem(), 1000U);
    use(100, 100'110);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(applications.cpu()[0]->cpu(), 10);
}

TEST_F(ApplicationsTest, MakesTheFirstReadingThatSucceedsTheBaseline) {
    launch(100, "a");
    machine->processes().setTaskInfo(100, std::nullopt);
    Applications applications;
    use(100, 100'000);
    sampleAfter(applications, 1.1);
    EXPECT_EQ(applications.cpu()[0]->cpu(), 0);
    use(100, 100'110);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(applications.cpu()[0]->cpu(), 10);
}

TEST_F(ApplicationsTest, LeavesAProcessThatCannotBeReadUnchanged) {
    launch(100, "a");
    Applications applications;
    use(100, 550, 1, 777);
    sampleAfter(applications, 1.1);
    machine->processes().setTaskInfo(100, std::nullopt);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(applications.cpu()[0]->cpu(), 50);
    EXPECT_EQ(applications.cpu()[0]->mem(), 777U);
}

TEST_F(ApplicationsTest, FoldsAnAuxiliaryProcessIntoItsParent) {
    launch(100, "a");
    launch(101, "helper", 100);
    Applications applications;
    use(100, 110, 1, 500);
    use(101, 220, 1, 300);
    sampleAfter(applications, 1.1);
    const auto parent = find(applications, 100);
    const auto helper = find(applications, 101);
    EXPECT_DOUBLE_EQ(parent->cpu(), 30);
    EXPECT_EQ(parent->mem(), 800U);
    EXPECT_EQ(helper->cpu(), 0);
    EXPECT_EQ(helper->mem(), 0U);
    EXPECT_EQ(helper->parent(), parent);
    EXPECT_FALSE(parent->parent());
    EXPECT_EQ(helper->ppid(), 100);
}

TEST_F(ApplicationsTest, FoldsAgainAtEverySampleWithoutAddingUp) {
    launch(100, "a");
    launch(101, "helper", 100);
    Applications applications;
    for (std::uint64_t sample = 1; sample < 5; ++sample) {
        use(100, 110 * sample, 1, 500);
        use(101, 220 * sample, 1, 300);
        sampleAfter(applications, 1.1);
        EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 30) << sample;
        EXPECT_EQ(find(applications, 100)->mem(), 800U) << sample;
    }
}

TEST_F(ApplicationsTest, DoesNotAddUpWhatIsFoldedIntoAParentThatCannotBeRead) {
    launch(100, "a");
    launch(101, "helper", 100);
    Applications applications;
    use(100, 110, 1, 500);
    use(101, 220, 1, 300);
    sampleAfter(applications, 1.1);
    machine->processes().setTaskInfo(100, std::nullopt);
    for (std::uint64_t sample = 2; sample < 5; ++sample) {
        use(101, 220 * sample, 1, 300);
        sampleAfter(applications, 1.1);
        EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 30);
        EXPECT_EQ(find(applications, 100)->mem(), 800U);
    }
}

TEST_F(ApplicationsTest, AddsNothingForAnAuxiliaryProcessThatCannotBeRead) {
    launch(100, "a");
    launch(101, "helper", 100);
    Applications applications;
    use(100, 110, 1, 500);
    use(101, 220, 1, 300);
    sampleAfter(applications, 1.1);
    machine->processes().setTaskInfo(101, std::nullopt);
    use(100, 220, 1, 500);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 10);
    EXPECT_EQ(find(applications, 100)->mem(), 500U);
}

TEST_F(ApplicationsTest, FoldsOneLevelAPassInTheOrderOfTheList) {
    launch(100, "a");
    launch(101, "helper", 100);
    launch(102, "helper's helper", 101);
    Applications applications;
    use(100, 110);
    use(101, 220);
    use(102, 330);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 30);
    EXPECT_DOUBLE_EQ(find(applications, 101)->cpu(), 30) << "meant so: what reaches it after its own turn stays";
    EXPECT_DOUBLE_EQ(find(applications, 102)->cpu(), 0);
}

TEST_F(ApplicationsTest, TakesThePlatformsWordOnTheOwnerBeforeTheParents) {
    launch(100, "a");
    launch(101, "launched by a", 100);
    launch(102, "helper of a", 1);
    machine->processes().launch({.processIdentifier = 101, .startTime = start, .owner = 101});
    machine->processes().launch({.processIdentifier = 102, .startTime = start, .owner = 100});
    Applications applications;
    EXPECT_FALSE(find(applications, 101)->parent());
    EXPECT_EQ(find(applications, 102)->parent(), find(applications, 100));
}

TEST_F(ApplicationsTest, DoesNotAssociateAProcessWithAParentThatComesLater) {
    launch(101, "helper", 100);
    Applications applications;
    launch(100, "a");
    applications.update();
    EXPECT_FALSE(find(applications, 101)->parent());
}

TEST_F(ApplicationsTest, NeverListsTheHostsOwnExtension) {
    launch(100, "a");
    machine->processes().launch(
        {.processIdentifier = 101, .startTime = start, .localizedName = "Today", .bundleIdentifier = "Sentrel.Today"});
    Applications applications;
    machine->processes().launch({.processIdentifier = 102, .bundleIdentifier = "Sentrel.Today"});
    machine->processes().launch({.processIdentifier = 103, .bundleIdentifier = "sentrel.today"});
    applications.update();
    EXPECT_EQ(applications.count(), 2);
    EXPECT_FALSE(find(applications, 101));
    EXPECT_FALSE(find(applications, 102));
    EXPECT_TRUE(find(applications, 103)) << "the comparison is exact";
}

// What a process is was looked at when it came only: one that turned into the extension stayed.
TEST_F(ApplicationsTest, NoLongerTracksAProcessThatTurnsIntoTheHostsOwnExtension) {
    launch(100, "a");
    launch(101, "helper", 100);
    Applications applications;
    use(100, 110);
    use(101, 110);
    sampleAfter(applications, 1.1);
    const RunningApplication before{.processIdentifier = 100, .startTime = start, .localizedName = "a"};
    RunningApplication extension = before;
    extension.bundleIdentifier = "Sentrel.Today";
    machine->processes().launch(extension);
    applications.update();
    EXPECT_EQ(applications.count(), 1);
    EXPECT_FALSE(find(applications, 100));
    EXPECT_FALSE(find(applications, 101)->parent());
    EXPECT_DOUBLE_EQ(find(applications, 101)->cpu(), 10) << "what was folded into it stands for itself";

    use(100, 500);
    machine->processes().launch(before);
    applications.update();
    EXPECT_EQ(applications.count(), 2);
    ASSERT_TRUE(find(applications, 100));
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 0) << "measured anew";
}

TEST_F(ApplicationsTest, ShowsTheLocalizedNameElseTheBundleIdentifierElseNothing) {
    machine->processes().launch(
        {.processIdentifier = 100, .localizedName = "Notizen", .bundleIdentifier = "org.example"});
    machine->processes().launch(
        {.processIdentifier = 101, .bundleIdentifier = "org.example", .icon = Icon::named("notes")});
    machine->processes().launch({.processIdentifier = 102});
    Applications applications;
    EXPECT_EQ(find(applications, 100)->name(), "Notizen");
    EXPECT_EQ(find(applications, 101)->name(), "org.example");
    EXPECT_EQ(find(applications, 102)->name(), "");
    EXPECT_EQ(find(applications, 101)->icon(), Icon::named("notes"));
    EXPECT_FALSE(find(applications, 102)->icon());
    EXPECT_EQ(find(applications, 102)->ppid(), -1);
}

TEST_F(ApplicationsTest, FollowsTheSetOfRunningApplications) {
    launch(100, "a");
    Applications applications;
    EXPECT_EQ(applications.count(), 1);
    launch(101, "b");
    applications.update();
    EXPECT_EQ(applications.count(), 2);
    machine->processes().terminate(100);
    applications.update();
    EXPECT_EQ(applications.count(), 1);
    EXPECT_FALSE(find(applications, 100));
    EXPECT_TRUE(find(applications, 101));
}

TEST_F(ApplicationsTest, HearsOfAChangeThatThePlatformTellsBetweenSamples) {
    Applications applications;
    launch(100, "a");
    machine->processes().refreshRunningApplications();
    EXPECT_EQ(applications.count(), 1);
}

TEST_F(ApplicationsTest, ActsOnlyOnNoticesOfItsOwn) {
    launch(100, "a");
    Applications applications;
    const int context = 0;
    applications.observeValue("runningApplications", nullptr, {}, &context);
    applications.observeValue("runningApplications", nullptr, {}, nullptr);
    EXPECT_EQ(applications.count(), 1);
}

TEST_F(ApplicationsTest, HearsNothingAfterItsRelease) {
    { const Applications applications; }
    launch(100, "a");
    machine->processes().refreshRunningApplications();
}

TEST_F(ApplicationsTest, TellsObserversOfTheCount) {
    Applications applications;
    std::vector<std::int64_t> heard;
    auto token = applications.observeCount([&](std::int64_t count) { heard.push_back(count); });
    launch(100, "a");
    launch(101, "b");
    applications.update();
    applications.update();
    machine->processes().terminate(100);
    applications.update();
    token.reset();
    machine->processes().terminate(101);
    applications.update();
    EXPECT_EQ(heard, (std::vector<std::int64_t>{2, 1}));
}

// The observers ran under the lock of their list: releasing the model from one, or making another, waited for ever.
TEST_F(ApplicationsTest, MayBeReleasedByACountObserverWhichIsTheLastThenToHear) {
    auto applications = std::make_unique<Applications>();
    int heard = 0;
    int heardAfterwards = 0;
    const auto first = applications->observeCount([&](std::int64_t) {
        applications.reset();
        ++heard;
    });
    const auto second = applications->observeCount([&](std::int64_t) { ++heardAfterwards; });
    launch(100, "a");
    applications->update();
    EXPECT_FALSE(applications);
    launch(101, "b");
    machine->processes().refreshRunningApplications();
    EXPECT_EQ(heard, 1);
    EXPECT_EQ(heardAfterwards, 0);
}

TEST_F(ApplicationsTest, LetsACountObserverMakeAnotherModelAndUpdateBoth) {
    Applications applications;
    std::unique_ptr<Applications> other;
    std::vector<std::int64_t> heard;
    const auto token = applications.observeCount([&](std::int64_t count) {
        heard.push_back(count);
        if (other)
            return;
        other = std::make_unique<Applications>();
        launch(101, "b");
        other->update();
        applications.update();
        EXPECT_EQ(other->count(), 2);
    });
    launch(100, "a");
    applications.update();
    EXPECT_EQ(applications.count(), 2);
    EXPECT_EQ(heard, (std::vector<std::int64_t>{1, 2}));
}

TEST_F(ApplicationsTest, LetsACountObserverRegisterOthersAndReleaseTokens) {
    Applications applications;
    std::vector<std::string> heard;
    std::vector<Observation> tokens(3);
    tokens[0] = applications.observeCount([&](std::int64_t) {
        heard.emplace_back("first");
        tokens[0].reset();
        tokens[1].reset();
        tokens[2] = applications.observeCount([&](std::int64_t) { heard.emplace_back("third"); });
    });
    tokens[1] = applications.observeCount([&](std::int64_t) { heard.emplace_back("second"); });
    launch(100, "a");
    applications.update();
    EXPECT_EQ(heard, (std::vector<std::string>{"first"}));
    launch(101, "b");
    applications.update();
    EXPECT_EQ(heard, (std::vector<std::string>{"first", "third"}));
}

TEST_F(ApplicationsTest, PassesACountObserversExceptionOnAndStaysWhole) {
    Applications applications;
    const auto token = applications.observeCount([](std::int64_t) { throw std::runtime_error("failed"); });
    launch(100, "a");
    EXPECT_THROW(applications.update(), std::runtime_error);
    EXPECT_EQ(applications.count(), 1);
    use(100, 110);
    sampleAfter(applications, 1.1);
    EXPECT_EQ(applications.cpu().size(), 1U);
}

TEST_F(ApplicationsTest, WaitsForNoCountObserverOfAnotherThreadAtItsRelease) {
    auto applications = std::make_unique<Applications>();
    Event entered;
    Event goOn;
    const auto token = applications->observeCount([&](std::int64_t) {
        entered.happened();
        EXPECT_TRUE(goOn.await());
    });
    launch(100, "a");
    std::thread notice([&] { machine->processes().refreshRunningApplications(); });
    ASSERT_TRUE(entered.await());
    applications.reset();
    goOn.happened();
    notice.join();
}

// Two threads, each in an observer that releases the other's model.
TEST_F(ApplicationsTest, LetsTwoCountObserversReleaseEachOthersModels) {
    auto first = std::make_unique<Applications>();
    auto second = std::make_unique<Applications>();
    Event entered;
    const auto firstToken = first->observeCount([&](std::int64_t) {
        entered.happened();
        EXPECT_TRUE(entered.await(2));
        second.reset();
    });
    const auto secondToken = second->observeCount([&](std::int64_t) {
        entered.happened();
        EXPECT_TRUE(entered.await(2));
        first.reset();
    });
    launch(100, "a");
    const auto refresh = [&] { machine->processes().refreshRunningApplications(); };
    std::thread one(refresh);
    std::thread another([&] {
        ASSERT_TRUE(entered.await());
        refresh();
    });
    one.join();
    another.join();
    EXPECT_FALSE(first || second);
}

TEST_F(ApplicationsTest, TakesAReusedIdForANewApplication) {
    launch(100, "a");
    use(100, 50'000);
    Applications applications;
    const auto before = find(applications, 100);
    machine->processes().terminate(100);
    machine->processes().setTaskInfo(100, TaskInfo{.userNanoseconds = 110'000'000, .threads = 1, .startTime = 99});
    machine->processes().launch({.processIdentifier = 100, .startTime = 99, .localizedName = "b"});
    sampleAfter(applications, 1.1);
    EXPECT_EQ(applications.count(), 1);
    EXPECT_NE(find(applications, 100), before);
    EXPECT_EQ(find(applications, 100)->name(), "b");
    EXPECT_EQ(find(applications, 100)->cpu(), 0) << "measured from its own first reading";
}

TEST_F(ApplicationsTest, NeverComputesAShareAgainstAReusedId) {
    launch(100, "a");
    Applications applications;
    use(100, 110, 1, 500);
    sampleAfter(applications, 1.1);
    // The id has another owner, and nobody told yet.
    machine->processes().setTaskInfo(
        100, TaskInfo{.userNanoseconds = 900'000'000'000, .residentBytes = 9, .threads = 1, .startTime = 99});
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 10);
    EXPECT_EQ(find(applications, 100)->mem(), 500U);
}

TEST_F(ApplicationsTest, KeepsTheFiguresOfAnApplicationThatRunsAnotherProgram) {
    launch(100, "shell");
    launch(101, "helper", 100);
    Applications applications;
    use(100, 110, 1, 500);
    use(101, 110, 1, 500);
    sampleAfter(applications, 1.1);
    machine->processes().launch({.processIdentifier = 100, .startTime = start, .localizedName = "program"});
    use(100, 330, 1, 600);
    use(101, 330, 1, 600);
    sampleAfter(applications, 1.1);
    EXPECT_EQ(applications.count(), 2);
    EXPECT_EQ(find(applications, 100)->name(), "program");
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 40);
    EXPECT_EQ(find(applications, 101)->parent(), find(applications, 100));
}

TEST_F(ApplicationsTest, LetsTheShareStandWhenTwoSamplesFallIntoOneMillisecond) {
    launch(100, "a");
    launch(101, "helper", 100);
    Applications applications;
    use(100, 110);
    use(101, 220);
    sampleAfter(applications, 1.1);
    use(100, 165);
    applications.update();
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 30);
    EXPECT_DOUBLE_EQ(find(applications, 101)->cpu(), 0);
    use(100, 220);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 10) << "the time of the sample without a share is not lost";
}

TEST_F(ApplicationsTest, LetsTheShareStandWhenTheClockIsSetBack) {
    launch(100, "a");
    Applications applications;
    use(100, 550);
    sampleAfter(applications, 1.1);
    machine->clock().setWallMicroseconds(1'000'000);
    use(100, 600);
    applications.update();
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 50);
    use(100, 710);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 10);
}

TEST_F(ApplicationsTest, LetsTheShareStandWhileTheClockCannotBeRead) {
    launch(100, "a");
    Applications applications;
    use(100, 550);
    sampleAfter(applications, 1.1);
    machine->clock().calls.fail("read", {.error = EFAULT});
    use(100, 700, 1, 5000);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 50);
    EXPECT_EQ(find(applications, 100)->mem(), 5000U);
}

TEST_F(ApplicationsTest, PutsAProcessWithoutAReadingBehindTheOthers) {
    for (const std::int32_t id : {100, 101, 102, 103, 104})
        launch(id, "a");
    machine->processes().setTaskInfo(100, std::nullopt);
    Applications applications;
    for (const std::int32_t id : {101, 102, 103, 104})
        use(id, 11 * static_cast<std::uint64_t>(id - 100));
    sampleAfter(applications, 1.1);
    const auto top = applications.cpu();
    EXPECT_EQ(top[0]->pid(), 104);
    EXPECT_EQ(top[1]->pid(), 103);
    EXPECT_EQ(top[2]->pid(), 102);
    for (const auto& process : top)
        EXPECT_TRUE(std::isfinite(process->cpu()));
}

TEST_F(ApplicationsTest, SortsACopy) {
    launch(100, "a");
    launch(101, "b");
    launch(102, "c");
    Applications applications;
    use(102, 550);
    sampleAfter(applications, 1.1);
    ASSERT_EQ(applications.cpu()[0]->pid(), 102);
    // Both are called the same from now on: the first of the list becomes the owner, and the list was not sorted.
    machine->processes().launch({.processIdentifier = 101, .startTime = start, .localizedName = "Mail"});
    machine->processes().launch({.processIdentifier = 102, .startTime = start, .localizedName = "Mail"});
    launch(103, "Mail Web Content");
    applications.update();
    machine->processes().terminate(100);
    applications.update();
    EXPECT_EQ(find(applications, 103)->parent()->pid(), 101);
}

TEST_F(ApplicationsTest, FindsTheOwnerOfABrowserEnginesProcessByName) {
    launch(100, "Mail");
    launch(101, "Mail Web Content");
    launch(102, "Mail  Networking");
    Applications applications;
    use(100, 110);
    use(101, 110);
    use(102, 110);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 30);
    EXPECT_EQ(find(applications, 101)->parent(), find(applications, 100));
    EXPECT_EQ(find(applications, 102)->parent(), find(applications, 100)) << "joined with single blanks";
    EXPECT_TRUE(find(applications, 101)->isUnResolvedName());
    EXPECT_FALSE(find(applications, 100)->isUnResolvedName());
}

TEST_F(ApplicationsTest, LooksForTheWholeNameWithoutASuffix) {
    launch(100, "com.apple.WebKit.WebContent.Development");
    launch(101, "com.apple.WebKit.Networking");
    launch(102, "WebContent");
    Applications applications;
    EXPECT_TRUE(find(applications, 100)->isUnResolvedName());
    EXPECT_TRUE(find(applications, 101)->isUnResolvedName());
    EXPECT_FALSE(find(applications, 102)->isUnResolvedName());
    applications.update();
    EXPECT_FALSE(find(applications, 100)->parent()) << "never its own parent";
    EXPECT_FALSE(find(applications, 101)->parent());
}

TEST_F(ApplicationsTest, NeverFoldsTwoOfOneNameIntoEachOther) {
    launch(100, "com.apple.WebKit.WebContent");
    launch(101, "com.apple.WebKit.WebContent");
    Applications applications;
    use(100, 110);
    use(101, 220);
    sampleAfter(applications, 1.1);
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu() + find(applications, 101)->cpu(), 30);
    EXPECT_FALSE(find(applications, 100)->parent() && find(applications, 101)->parent());
}

TEST_F(ApplicationsTest, AssociatesByParentWhereThereIsOneWhateverTheName) {
    launch(100, "Mail");
    launch(101, "Browser");
    launch(102, "Mail Web Content", 101);
    Applications applications;
    EXPECT_EQ(find(applications, 102)->parent()->pid(), 101);
    EXPECT_FALSE(find(applications, 102)->isUnResolvedName());
}

TEST_F(ApplicationsTest, TakesTheFirstOfSeveralOwnersOfOneName) {
    launch(100, "Mail");
    launch(101, "Mail");
    launch(102, "Mail Web Content");
    Applications applications;
    EXPECT_EQ(find(applications, 102)->parent()->pid(), 100);
}

TEST_F(ApplicationsTest, ResolvesAProcessWhoseOwnerStartsLater) {
    launch(101, "Mail Web Content");
    Applications applications;
    EXPECT_FALSE(find(applications, 101)->parent());
    launch(100, "Mail");
    use(101, 110);
    sampleAfter(applications, 1.1);
    EXPECT_EQ(find(applications, 101)->parent(), find(applications, 100));
    EXPECT_DOUBLE_EQ(find(applications, 100)->cpu(), 10);
}

TEST_F(ApplicationsTest, WaitsForAnOwnerOfTheNameAgainWhenTheOwnerEnds) {
    launch(100, "Mail");
    launch(101, "Mail Web Content");
    Applications applications;
    machine->processes().terminate(100);
    use(101, 110);
    sampleAfter(applications, 1.1);
    EXPECT_FALSE(find(applications, 101)->parent());
    EXPECT_DOUBLE_EQ(find(applications, 101)->cpu(), 10) << "nothing is lost meanwhile";
    launch(102, "Mail");
    applications.update();
    EXPECT_EQ(find(applications, 101)->parent()->pid(), 102);
}

// A name is looked for only while something is unresolved: a process that came to be called as its owner is called by a
// resolved one stays where it was.
TEST_F(ApplicationsTest, StopsCountingAResolvedProcess) {
    launch(100, "Mail");
    launch(101, "Mail Web Content");
    launch(102, "Notes Web Content");
    Applications applications;
    EXPECT_EQ(applications.unresolvedNamedProcesses(), 1);
    launch(103, "Notes");
    applications.update();
    EXPECT_EQ(applications.unresolvedNamedProcesses(), 0);
    machine->processes().terminate(103);
    applications.update();
    EXPECT_EQ(applications.unresolvedNamedProcesses(), 1) << "its owner ended";
    machine->processes().terminate(102);
    applications.update();
    EXPECT_EQ(applications.unresolvedNamedProcesses(), 0) << "it ended itself";
}

TEST_F(ApplicationsTest, LetsAHelperStandForItselfWhenItsOwnerEnds) {
    launch(100, "a");
    launch(101, "helper", 100);
    Applications applications;
    machine->processes().terminate(100);
    use(101, 110, 1, 300);
    sampleAfter(applications, 1.1);
    EXPECT_FALSE(find(applications, 101)->parent());
    EXPECT_DOUBLE_EQ(find(applications, 101)->cpu(), 10);
    EXPECT_EQ(find(applications, 101)->mem(), 300U);
}

TEST_F(ApplicationsTest, LetsReadersAndNoticesComeDuringSamples) {
    for (std::int32_t id = 100; id < 150; ++id)
        launch(id, "a", id % 5 == 0 ? 1 : id - id % 5);
    Applications applications;
    std::atomic<bool> done{false};
    std::thread observed([&] {
        for (std::int32_t id = 200; id < 300; ++id) {
            launch(id, id % 2 ? "Mail" : "Mail Web Content");
            machine->processes().refreshRunningApplications();
            machine->processes().terminate(id - 100);
        }
        done = true;
    });
    std::thread reader([&] {
        while (!done) {
            for (const auto& process : applications.cpu()) {
                EXPECT_TRUE(std::isfinite(process->cpu()));
                EXPECT_NE(process->parent(), process);
            }
            for (const auto& process : applications.mem())
                EXPECT_FALSE(process->name().empty());
            EXPECT_GE(applications.count(), 0);
        }
    });
    while (!done)
        applications.update();
    observed.join();
    reader.join();
    applications.update();
    EXPECT_EQ(applications.count(), 100);
}

// Readers, and the thread that brought a notice, waited for the whole of a sample that a low priority starved: 13 s
// when 10,000 processes had ended at once.
TEST(ApplicationsDuringASample, KeepNoReaderAndNoNoticeWaiting) {
    ScriptedMachine machine;
    platform::ScriptedProcessService& processes = machine->processes();
    const auto launch = [&](std::int32_t id) {
        processes.setTaskInfo(id, TaskInfo{.residentBytes = 1000, .threads = 1, .startTime = 7});
        processes.launch({.processIdentifier = id, .startTime = 7, .localizedName = "a"});
    };
    launch(100);
    launch(101);
    Applications applications;
    std::vector<std::int64_t> heard;
    const auto token = applications.observeCount([&](std::int64_t count) { heard.push_back(count); });
    Event entered;
    Event goOn;
    processes.calls.onCall([&](const std::string& call) {
        if (call == "taskInfo 100") {
            entered.happened();
            EXPECT_TRUE(goOn.await());
        }
    });
    std::thread sampler([&] { applications.update(); });
    ASSERT_TRUE(entered.await());

    EXPECT_EQ(applications.cpu().size(), 2U);
    EXPECT_EQ(applications.mem().size(), 2U);
    EXPECT_EQ(applications.count(), 2);
    EXPECT_EQ(applications.unresolvedNamedProcesses(), 0);
    processes.terminate(101);
    processes.refreshRunningApplications();
    launch(102);
    launch(103);
    processes.refreshRunningApplications();
    EXPECT_TRUE(heard.empty()) << "the sampling thread takes the set over";

    processes.calls.onCall(nullptr);
    goOn.happened();
    sampler.join();
    EXPECT_EQ(applications.count(), 3);
    EXPECT_EQ(heard, (std::vector<std::int64_t>{3}));
    EXPECT_EQ(applications.cpu().size(), 3U);
}

} // namespace
} // namespace sentrel
