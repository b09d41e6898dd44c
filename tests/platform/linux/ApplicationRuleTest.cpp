#include <SentrelKit/platform/linux/ApplicationRule.h>
#include <SentrelKit/platform/linux/ProcessFiles.h>

#include "tests/support/ProcessTree.h"

#include <gtest/gtest.h>

#include <map>

namespace sentrel::platform {
namespace {

// The outcome of the rule for a tree: whose application each process is, 0 for nobody's.
std::map<std::int32_t, std::int32_t> owners(const std::vector<TreeProcess>& tree) {
    std::vector<ProcessFacts> facts;
    for (const TreeProcess& process : tree) {
        ProcessFacts one;
        one.id = process.id;
        one.parent = process.parent;
        one.session = process.session;
        one.terminal = process.terminal;
        one.startTime = process.start;
        one.isCandidate = process.id > 1 && !process.isKernelThread && process.state != 'Z';
        one.command = process.command.substr(0, 15);
        one.program = process.program;
        one.scope = applicationScope("0::" + process.group + "\n");
        facts.push_back(one);
    }
    std::sort(facts.begin(), facts.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    std::vector<const ProcessFacts*> pointers;
    for (const ProcessFacts& one : facts)
        pointers.push_back(&one);
    const std::vector<std::int32_t> result = applicationOwners(pointers);
    std::map<std::int32_t, std::int32_t> byId;
    for (std::size_t i = 0; i < facts.size(); ++i)
        byId[facts[i].id] = result[i];
    return byId;
}

class Tree {
public:
    explicit Tree(const char* name) : owners_(owners(readProcessTree(name))) {}
    std::int32_t operator[](std::int32_t id) const { return owners_.at(id); }
    [[nodiscard]] auto begin() const { return owners_.begin(); }
    [[nodiscard]] auto end() const { return owners_.end(); }

private:
    std::map<std::int32_t, std::int32_t> owners_;
};

TreeProcess process(std::int32_t id, std::int32_t parent, const std::string& program, const std::string& scope = "") {
    TreeProcess one;
    one.id = id;
    one.parent = parent;
    one.session = id;
    one.start = static_cast<std::uint64_t>(id);
    one.program = program;
    one.command = std::string(lastPathComponent(program));
    one.group = scope.empty() ? "/" : "/user.slice/" + scope;
    return one;
}

TEST(ApplicationRule, FoldsEveryProcessOfABrowsersScopeIntoTheBrowser) {
    const Tree tree("browser");
    int helpers = 0;
    for (const auto& [id, owner] : tree) {
        if (id < 2301)
            continue;
        EXPECT_EQ(owner, 2301) << id;
        helpers += id != 2301;
    }
    EXPECT_EQ(helpers, 43);
}

TEST(ApplicationRule, FoldsAProcessOfTheScopeWhoseParentEndedIntoTheApplicationToo) {
    EXPECT_EQ(Tree("browser")[2351], 2301);
}

TEST(ApplicationRule, LeavesOutTheKernelThreadsAndTheFirstProcess) {
    const Tree tree("browser");
    for (const std::int32_t id : {1, 2, 14})
        EXPECT_EQ(tree[id], 0) << id;
}

TEST(ApplicationRule, FoldsTheProcessesOfAnEditorIntoTheEditor) {
    const Tree tree("editor");
    for (const std::int32_t id : {3100, 3102, 3120, 3133, 3140, 3150, 3160})
        EXPECT_EQ(tree[id], 3100) << id;
}

TEST(ApplicationRule, LetsACompilerInAnEditorsTerminalStandForItself) {
    const Tree tree("editor");
    EXPECT_EQ(tree[3200], 0) << "the terminal's shell";
    EXPECT_EQ(tree[3300], 3300) << "make";
    EXPECT_EQ(tree[3301], 0) << "the shell that make waits for";
    EXPECT_EQ(tree[3302], 3302) << "the compiler driver";
    EXPECT_EQ(tree[3303], 3303) << "the compiler";
    EXPECT_EQ(tree[3310], 3310) << "the editor's own program, started in its terminal";
}

TEST(ApplicationRule, FoldsAWebServersWorkersIntoItInAContainer) {
    const Tree tree("container");
    EXPECT_EQ(tree[1], 0);
    for (const std::int32_t id : {7, 8, 9, 10, 11})
        EXPECT_EQ(tree[id], 7) << id;
    EXPECT_EQ(tree[20], 20) << "a script under the system's own interpreter";
}

TEST(ApplicationRule, KnowsProgramsOfAMultiCallFileByTheirCommand) {
    const Tree tree("container");
    EXPECT_EQ(tree[31], 0) << "the shell that was let in";
    EXPECT_EQ(tree[40], 40) << "a program on its terminal";
    EXPECT_EQ(tree[60], 60) << "a service that is no shell";
}

TEST(ApplicationRule, FoldsNothingIntoTheFirstProcessWhateverItIs) {
    const Tree tree("container-bare");
    EXPECT_EQ(tree[1], 0);
    EXPECT_EQ(tree[7], 7);
    EXPECT_EQ(tree[8], 8);
}

TEST(ApplicationRule, ShowsEveryCompilerOfAParallelMakeUnderItsOwnName) {
    const Tree tree("ssh");
    EXPECT_EQ(tree[1010], 1010);
    for (std::int32_t id = 1011; id < 1011 + 24; id += 3) {
        EXPECT_EQ(tree[id], 0) << "a shell that waits for the compiler, " << id;
        EXPECT_EQ(tree[id + 1], id + 1);
        EXPECT_EQ(tree[id + 2], id + 2);
    }
}

TEST(ApplicationRule, FoldsAMakeIntoTheMakeThatStartedIt) {
    EXPECT_EQ(Tree("ssh")[1040], 1010);
}

TEST(ApplicationRule, LeavesOutRemoteLoginShellsAndMultiplexers) {
    const Tree tree("ssh");
    for (const std::int32_t id : {600, 610, 900, 906, 907, 1000, 1001, 1050})
        EXPECT_EQ(tree[id], 0) << id;
}

TEST(ApplicationRule, ShowsAScriptThatComputesByItselfUnderAMultiplexer) {
    EXPECT_EQ(Tree("ssh")[1041], 1041);
    EXPECT_EQ(Tree("ssh")[1051], 1051) << "started through a wrapper that only waits";
}

TEST(ApplicationRule, FoldsAServicesOwnProcessesAndThoseOfItsInstallationFolder) {
    const Tree tree("ssh");
    for (const std::int32_t id : {620, 621, 622})
        EXPECT_EQ(tree[id], 620) << id;
}

TEST(ApplicationRule, LeavesOutSessionAndServiceManagersOfADesktop) {
    const Tree tree("desktop");
    for (const std::int32_t id : {1100, 1200, 1201, 1210})
        EXPECT_EQ(tree[id], 0) << id;
}

TEST(ApplicationRule, FoldsNothingIntoADesktopsShell) {
    const Tree tree("desktop");
    EXPECT_EQ(tree[1400], 1400);
    EXPECT_EQ(tree[1420], 1420) << "another program of a folder that all programs share";
    EXPECT_EQ(tree[1801], 1801) << "an application that the shell started";
}

TEST(ApplicationRule, TakesAnApplicationServiceForAnApplication) {
    EXPECT_EQ(Tree("desktop")[1500], 1500);
}

TEST(ApplicationRule, FoldsNothingThatRunsInATerminalIntoTheTerminal) {
    const Tree tree("desktop");
    EXPECT_EQ(tree[1600], 1600) << "a terminal with a scope for each shell";
    EXPECT_EQ(tree[1610], 0);
    EXPECT_EQ(tree[1620], 1620);
    EXPECT_EQ(tree[1700], 1700) << "a terminal with its shells in its own scope";
    EXPECT_EQ(tree[1705], 1700) << "the terminal's own helper";
    EXPECT_EQ(tree[1710], 0);
    EXPECT_EQ(tree[1720], 1720);
    EXPECT_EQ(tree[1730], 1730) << "the terminal's program, started inside the terminal";
}

TEST(ApplicationRule, LooksPastTheWrapperThatLeadsAScope) {
    const Tree tree("desktop");
    EXPECT_EQ(tree[1800], 0) << "a shell script that waits";
    EXPECT_EQ(tree[1802], 1801);
    EXPECT_EQ(tree[1900], 0) << "a sandbox that waits";
    EXPECT_EQ(tree[1901], 1901);
}

TEST(ApplicationRule, KeepsTwoRunsOfOneApplicationApart) {
    const Tree tree("desktop");
    EXPECT_EQ(tree[1901], 1901);
    EXPECT_EQ(tree[1950], 1950);
}

TEST(ApplicationRule, LetsTheOldestLeftProcessLeadAScopeWhoseLeaderEnded) {
    std::vector<TreeProcess> tree = readProcessTree("browser");
    std::erase_if(tree, [](const TreeProcess& one) { return one.id == 2301; });
    const std::map<std::int32_t, std::int32_t> result = owners(tree);
    EXPECT_EQ(result.at(2310), 2310);
    EXPECT_EQ(result.at(2400), 2310);
}

TEST(ApplicationRule, TakesTheOldestProcessOfAScopeAfterTheIdsBeganAnew) {
    std::vector<TreeProcess> tree{process(300, 1, "/opt/a/a", "app-a-1.scope"),
                                  process(32000, 1, "/opt/a/a", "app-a-1.scope")};
    tree[0].start = 2000;
    tree[1].start = 1000;
    EXPECT_EQ(owners(tree).at(300), 32000);
}

TEST(ApplicationRule, MakesAShellThatComputesAnApplicationUntilItHasAChild) {
    std::vector<TreeProcess> tree{process(100, 1, "/usr/bin/bash")};
    EXPECT_EQ(owners(tree).at(100), 100);
    tree.push_back(process(101, 100, "/usr/bin/bash"));
    EXPECT_EQ(owners(tree).at(100), 0);
    EXPECT_EQ(owners(tree).at(101), 101) << "not folded into the shell it came from";
}

TEST(ApplicationRule, DoesNotCountAZombieAsAChildToWaitFor) {
    std::vector<TreeProcess> tree{process(100, 1, "/usr/bin/bash"), process(101, 100, "/usr/bin/date")};
    tree[1].state = 'Z';
    EXPECT_EQ(owners(tree).at(100), 100);
    EXPECT_EQ(owners(tree).at(101), 0);
}

TEST(ApplicationRule, FoldsAHelperOfAHelper) {
    const std::vector<TreeProcess> tree{process(100, 1, "/opt/suite/bin/suite"),
                                        process(101, 100, "/opt/suite/lib/worker"),
                                        process(102, 101, "/opt/suite/libexec/tool")};
    EXPECT_EQ(owners(tree).at(101), 100);
    EXPECT_EQ(owners(tree).at(102), 100);
}

TEST(ApplicationRule, DoesNotFoldAcrossALauncher) {
    std::vector<TreeProcess> tree{process(100, 1, "/opt/suite/suite"), process(101, 100, "/usr/bin/dash"),
                                  process(102, 101, "/opt/suite/suite")};
    EXPECT_EQ(owners(tree).at(102), 102);
}

TEST(ApplicationRule, DoesNotFoldAProgramOfANeighbouringFolderWithALikeName) {
    const std::vector<TreeProcess> tree{process(100, 1, "/opt/suite/suite"), process(101, 100, "/opt/suite2/tool")};
    EXPECT_EQ(owners(tree).at(101), 101);
}

TEST(ApplicationRule, ComparesCommandsWhereProgramsAreNotToBeSeen) {
    std::vector<TreeProcess> tree{process(100, 1, ""), process(101, 100, ""), process(102, 100, "")};
    tree[0].command = tree[1].command = "daemon";
    tree[2].command = "other";
    EXPECT_EQ(owners(tree).at(101), 100);
    EXPECT_EQ(owners(tree).at(102), 102);
}

TEST(ApplicationRule, EndsOnATreeThatBitesItsTail) {
    const std::vector<TreeProcess> tree{process(100, 102, "/opt/a/a"), process(101, 100, "/opt/a/a"),
                                        process(102, 101, "/opt/a/a"), process(103, 103, "/opt/a/a")};
    for (const auto& [id, owner] : owners(tree))
        EXPECT_NE(owner, 0) << id;
}

TEST(ApplicationRule, KnowsWhichFoldersBelongToAProgramAlone) {
    const std::map<std::string, std::string> cases{{"/opt/suite/bin/suite", "/opt/suite"},
                                                   {"/opt/suite/suite", "/opt/suite"},
                                                   {"/usr/lib/office/program/office.bin", "/usr/lib/office/program"},
                                                   {"/usr/lib/office/bin/office", "/usr/lib/office"},
                                                   {"/home/u/project/build/tool", "/home/u/project/build"},
                                                   {"/usr/bin/make", ""},
                                                   {"/usr/local/bin/make", ""},
                                                   {"/usr/lib/x86_64-linux-gnu/helper", ""},
                                                   {"/home/u/tool", ""},
                                                   {"/home/u/bin/tool", ""},
                                                   {"/home/u/.local/bin/tool", ""},
                                                   {"/tmp/tool", ""},
                                                   {"/tool", ""},
                                                   {"tool", ""},
                                                   {"", ""}};
    for (const auto& [program, folder] : cases)
        EXPECT_EQ(installationFolder(program), folder) << program;
}

} // namespace
} // namespace sentrel::platform
