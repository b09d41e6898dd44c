// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/ApplicationRule.h>

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/processes/ProcessFiles.h>

#include "tests/support/linux/ProcessTree.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <stdexcept>

namespace sentrel::platform {
namespace {

// The outcome of the rule for a tree: whose application each process is, 0 for nobody's.
std::map<std::int32_t, std::int32_t> owners(const std::vector<TreeProcess>& tree,
                                            const std::set<std::int32_t>& computing = {}) {
    std::vector<ProcessFacts> facts;
    for (const TreeProcess& process : tree) {
        ProcessFacts one;
        one.id = process.id;
        one.parent = process.parent;
        one.session = process.session;
        one.terminal = process.terminal;
        one.startTime = process.start;
        one.isCandidate = process.id > 1 && !process.isKernelThread && process.state != 'Z';
        one.isComputing = computing.count(process.id) != 0;
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

// A tree with the outcome of the rule. Processes go by the last part of their program's path, and where that is not
// enough, by a part of their command or arguments.
class Tree {
public:
    explicit Tree(const char* name) : processes_(readProcessTree(name)), owners_(owners(processes_)) {}
    std::int32_t operator[](std::int32_t id) const { return owners_.at(id); }
    [[nodiscard]] const std::vector<TreeProcess>& processes() const { return processes_; }

    [[nodiscard]] std::vector<std::int32_t> all(std::string_view program, std::string_view part = "") const {
        std::vector<std::int32_t> ids;
        for (const TreeProcess& one : processes_) {
            std::string text = one.command;
            for (const std::string& argument : one.arguments)
                text += ' ' + argument;
            if (lastPathComponent(one.program) == program && text.find(part) != std::string::npos)
                ids.push_back(one.id);
        }
        return ids;
    }

    // The one process of which this is true.
    [[nodiscard]] std::int32_t id(std::string_view program, std::string_view part = "") const {
        const std::vector<std::int32_t> ids = all(program, part);
        if (ids.size() != 1)
            throw std::runtime_error(std::to_string(ids.size()) + " processes of " + std::string(program));
        return ids.front();
    }

    // The owner of the one process of which this is true.
    [[nodiscard]] std::int32_t owner(std::string_view program, std::string_view part = "") const {
        return owners_.at(id(program, part));
    }

    // The programs of all applications and how often each is one.
    [[nodiscard]] std::map<std::string, int> applications() const {
        std::map<std::string, int> count;
        for (const TreeProcess& one : processes_) {
            if (owners_.at(one.id) == one.id)
                ++count[std::string(lastPathComponent(one.program))];
        }
        return count;
    }

private:
    std::vector<TreeProcess> processes_;
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

TEST(ApplicationRule, FoldsEveryProcessOfABrowserIntoTheBrowser) {
    const Tree tree("browser");
    const std::int32_t browser = tree.all("chromium").front();
    EXPECT_EQ(tree.applications()["chromium"], 1);
    EXPECT_GE(tree.all("chromium", "--type=renderer").size(), 34U);
    for (const std::int32_t id : tree.all("chromium"))
        EXPECT_EQ(tree[id], browser) << id;
}

TEST(ApplicationRule, FoldsAProcessOfTheScopeWhoseParentEndedIntoTheApplicationToo) {
    const Tree tree("browser");
    const std::vector<std::int32_t> handlers = tree.all("chrome_crashpad_handler");
    EXPECT_EQ(handlers.size(), 2U);
    for (const std::int32_t id : handlers)
        EXPECT_EQ(tree[id], tree.all("chromium").front()) << id;
}

TEST(ApplicationRule, FoldsTheHelpersOfAnApplicationsScopeOfTheSystemsOwnFolders) {
    const Tree tree("browser");
    for (const char* helper : {"gnome-builder-git", "gnome-builder-flatpak"})
        EXPECT_EQ(tree.owner(helper), tree.id("gnome-builder")) << helper;
    EXPECT_EQ(tree.owner("at-spi2-registryd"), tree.id("at-spi-bus-launcher"));
}

TEST(ApplicationRule, LeavesOutTheKernelThreadsAndTheFirstProcess) {
    const Tree tree("editor");
    EXPECT_EQ(tree[1], 0);
    EXPECT_EQ(tree[2], 0);
}

TEST(ApplicationRule, FoldsTheProcessesOfAnEditorIntoTheEditor) {
    const Tree tree("editor");
    for (const std::int32_t id : {3100, 3102, 3120, 3133, 3140, 3150, 3160})
        EXPECT_EQ(tree[id], 3100) << id;
}

TEST(ApplicationRule, LetsACompilerInAnEditorsTerminalStandForItself) {
    const Tree composed("editor");
    EXPECT_EQ(composed[3200], 0) << "the terminal's shell";
    EXPECT_EQ(composed[3301], 0) << "the shell that make waits for";
    EXPECT_EQ(composed[3310], 3310) << "the editor's own program, started in its terminal";

    for (const char* name : {"editor", "builtin-terminal"}) {
        const Tree tree(name);
        const std::int32_t make = tree.all("make").front();
        EXPECT_EQ(tree[make], make);
        EXPECT_FALSE(tree.all("cc1plus").empty());
        for (const char* program : {"x86_64-linux-gnu-g++-12", "cc1plus"}) {
            for (const std::int32_t id : tree.all(program))
                EXPECT_EQ(tree[id], id) << program;
        }
    }
    const Tree captured("builtin-terminal");
    EXPECT_EQ(captured.owner("geany"), captured.id("geany"));
    EXPECT_EQ(captured.owner("bash", "bash /bin/bash"), 0) << "the terminal's shell";
}

TEST(ApplicationRule, FoldsAWebServersWorkersIntoItInAContainer) {
    const Tree tree("container");
    EXPECT_EQ(tree[1], 0) << "an init";
    EXPECT_EQ(tree.all("nginx", "worker").size(), 4U);
    for (const std::int32_t id : tree.all("nginx"))
        EXPECT_EQ(tree[id], tree.id("nginx", "master"));
    for (const std::int32_t id : tree.all("php-fpm8.2"))
        EXPECT_EQ(tree[id], tree.id("php-fpm8.2", "master"));
    EXPECT_EQ(tree.owner("dash", "report"), tree.id("dash", "report")) << "a script that computes by itself";
    EXPECT_EQ(tree.owner("dash", "sh -i"), 0) << "the shell that was let in";
    EXPECT_EQ(tree.applications(),
              (std::map<std::string, int>{{"dash", 1}, {"nginx", 1}, {"php-fpm8.2", 1}, {"top", 1}}));
}

TEST(ApplicationRule, KnowsProgramsOfAMultiCallFileByTheirCommand) {
    std::vector<TreeProcess> tree{process(100, 1, "/bin/busybox"), process(101, 100, "/bin/busybox"),
                                  process(102, 1, "/bin/busybox")};
    tree[0].command = "sh";
    tree[0].terminal = tree[1].terminal = 34816;
    tree[1].command = "top";
    tree[2].command = "httpd";
    EXPECT_EQ(owners(tree).at(100), 0) << "a shell on a terminal";
    EXPECT_EQ(owners(tree).at(101), 101) << "a program on its terminal";
    EXPECT_EQ(owners(tree).at(102), 102) << "a service that is no shell";
}

TEST(ApplicationRule, FoldsNothingIntoTheFirstProcessWhateverItIs) {
    const Tree tree("container-bare");
    EXPECT_EQ(tree.owner("nginx", "master"), 0);
    EXPECT_EQ(tree.all("nginx", "worker").size(), 4U);
    for (const std::int32_t id : tree.all("nginx", "worker"))
        EXPECT_EQ(tree[id], id);
}

TEST(ApplicationRule, ShowsEveryCompilerOfAParallelMakeUnderItsOwnName) {
    const Tree tree("ssh");
    EXPECT_EQ(tree.all("cc1plus").size(), 8U);
    for (const char* program : {"cc1plus", "x86_64-linux-gnu-g++-12"}) {
        for (const std::int32_t id : tree.all(program))
            EXPECT_EQ(tree[id], id) << program;
    }
    for (const std::int32_t id : tree.all("dash", "sh -c"))
        EXPECT_EQ(tree[id], 0) << "a shell that waits for the compiler";
}

TEST(ApplicationRule, FoldsAMakeIntoTheMakeThatStartedIt) {
    const Tree tree("ssh");
    EXPECT_EQ(tree.owner("make", "-j8"), tree.id("make", "-j8"));
    EXPECT_EQ(tree.owner("make", "-C part"), tree.id("make", "-j8"));
}

TEST(ApplicationRule, ListsAllApplicationsOfAServerWithARemoteSession) {
    const std::map<std::string, int> expected{{"bash", 2},
                                              {"cc1plus", 8},
                                              {"cups-browsed", 1},
                                              {"cupsd", 1},
                                              {"dbus-daemon", 2},
                                              {"gvfs-afc-volume-monitor", 1},
                                              {"gvfs-goa-volume-monitor", 1},
                                              {"gvfs-gphoto2-volume-monitor", 1},
                                              {"gvfs-mtp-volume-monitor", 1},
                                              {"gvfs-udisks2-volume-monitor", 1},
                                              {"gvfsd", 1},
                                              {"make", 1},
                                              {"nano", 1},
                                              {"nginx", 1},
                                              {"pipewire", 2},
                                              {"polkitd", 1},
                                              {"postgres", 1},
                                              {"rsyslogd", 1},
                                              {"systemd-journald", 1},
                                              {"systemd-logind", 1},
                                              {"systemd-networkd", 1},
                                              {"tracker-miner-fs-3", 1},
                                              {"udisksd", 1},
                                              {"upowerd", 1},
                                              {"wireplumber", 1},
                                              {"x86_64-linux-gnu-g++-12", 8}};
    EXPECT_EQ(Tree("ssh").applications(), expected);
}

TEST(ApplicationRule, LeavesOutRemoteLoginShellsAndMultiplexers) {
    const Tree tree("ssh");
    for (const char* program : {"sshd", "cron", "systemd", "tmux", "screen", "sudo", "agetty", "atd"}) {
        EXPECT_FALSE(tree.all(program).empty()) << program;
        for (const std::int32_t id : tree.all(program))
            EXPECT_EQ(tree[id], 0) << program;
    }
    EXPECT_EQ(tree.all("bash", "-bash").size(), 3U);
    for (const std::int32_t id : tree.all("bash", "-bash"))
        EXPECT_EQ(tree[id], 0);
    EXPECT_EQ(tree.owner("python3.11", "supervisord"), 0) << "a manager that is a script";
}

TEST(ApplicationRule, ShowsAScriptThatComputesByItselfUnderAMultiplexer) {
    const Tree tree("ssh");
    const std::vector<std::int32_t> scripts = tree.all("bash", "busy.sh");
    EXPECT_EQ(scripts.size(), 2U) << "one of them started through a wrapper that only waits";
    for (const std::int32_t id : scripts)
        EXPECT_EQ(tree[id], id);
    EXPECT_EQ(tree.owner("nano"), tree.id("nano"));
}

TEST(ApplicationRule, FoldsAServicesOwnProcessesIntoIt) {
    const Tree tree("ssh");
    EXPECT_EQ(tree.all("postgres").size(), 6U);
    for (const std::int32_t id : tree.all("postgres"))
        EXPECT_EQ(tree[id], tree.all("postgres").front());
}

TEST(ApplicationRule, LeavesOutSessionAndServiceManagersOfADesktop) {
    const Tree tree("desktop");
    for (const char* program : {"systemd", "gnome-session-binary", "gnome-session-ctl"}) {
        EXPECT_FALSE(tree.all(program).empty()) << program;
        for (const std::int32_t id : tree.all(program))
            EXPECT_EQ(tree[id], 0) << program;
    }
}

TEST(ApplicationRule, ListsAllApplicationsOfADesktop) {
    const std::map<std::string, int> expected{{"Xwayland", 1},
                                              {"accounts-daemon", 1},
                                              {"at-spi-bus-launcher", 1},
                                              {"bash", 2},
                                              {"cc1plus", 2},
                                              {"colord", 1},
                                              {"cups-browsed", 1},
                                              {"cupsd", 1},
                                              {"dbus-daemon", 2},
                                              {"dconf-service", 1},
                                              {"evolution-addressbook-factory", 1},
                                              {"evolution-alarm-notify", 1},
                                              {"evolution-calendar-factory", 1},
                                              {"evolution-source-registry", 1},
                                              {"gcr-ssh-agent", 1},
                                              {"gnome-calculator", 2},
                                              {"gnome-keyring-daemon", 1},
                                              {"gnome-shell", 1},
                                              {"gnome-shell-calendar-server", 1},
                                              {"gnome-terminal-server", 1},
                                              {"gnome-text-editor", 1},
                                              {"gsd-a11y-settings", 1},
                                              {"gsd-color", 1},
                                              {"gsd-datetime", 1},
                                              {"gsd-housekeeping", 1},
                                              {"gsd-keyboard", 1},
                                              {"gsd-media-keys", 1},
                                              {"gsd-power", 1},
                                              {"gsd-print-notifications", 1},
                                              {"gsd-printer", 1},
                                              {"gsd-rfkill", 1},
                                              {"gsd-screensaver-proxy", 1},
                                              {"gsd-sharing", 1},
                                              {"gsd-smartcard", 1},
                                              {"gsd-sound", 1},
                                              {"gsd-wacom", 1},
                                              {"gsd-xsettings", 1},
                                              {"gvfs-afc-volume-monitor", 1},
                                              {"gvfs-goa-volume-monitor", 1},
                                              {"gvfs-gphoto2-volume-monitor", 1},
                                              {"gvfs-mtp-volume-monitor", 1},
                                              {"gvfs-udisks2-volume-monitor", 1},
                                              {"gvfsd", 1},
                                              {"gvfsd-metadata", 1},
                                              {"gvfsd-recent", 1},
                                              {"gvfsd-trash", 1},
                                              {"htop", 2},
                                              {"ibus-daemon", 1},
                                              {"ibus-dconf", 1},
                                              {"ibus-engine-simple", 1},
                                              {"ibus-extension-gtk3", 1},
                                              {"ibus-portal", 1},
                                              {"ibus-x11", 1},
                                              {"make", 1},
                                              {"nautilus", 1},
                                              {"nginx", 1},
                                              {"oosplash", 1},
                                              {"pipewire", 2},
                                              {"polkit-agent-helper-1", 1},
                                              {"polkitd", 1},
                                              {"postgres", 1},
                                              {"power-profiles-daemon", 1},
                                              {"python3.11", 1},
                                              {"rsyslogd", 1},
                                              {"ssh-agent", 1},
                                              {"systemd-journald", 1},
                                              {"systemd-logind", 1},
                                              {"systemd-networkd", 1},
                                              {"tracker-miner-fs-3", 1},
                                              {"udisksd", 1},
                                              {"upowerd", 1},
                                              {"vim.tiny", 2},
                                              {"wireplumber", 1},
                                              {"x86_64-linux-gnu-g++-12", 2},
                                              {"xdg-desktop-portal", 1},
                                              {"xdg-desktop-portal-gnome", 1},
                                              {"xdg-desktop-portal-gtk", 1},
                                              {"xdg-permission-store", 1},
                                              {"xterm", 3},
                                              {"zenity", 1}};
    EXPECT_EQ(Tree("desktop").applications(), expected);
}

TEST(ApplicationRule, FoldsNothingIntoADesktopsShell) {
    const Tree tree("desktop");
    const std::int32_t shell = tree.id("gnome-shell");
    int started = 0;
    for (const TreeProcess& one : tree.processes()) {
        EXPECT_EQ(tree[one.id] == shell, one.id == shell) << one.command;
        started += one.parent == shell;
    }
    EXPECT_GE(started, 2) << "it has children that could have been folded";
}

TEST(ApplicationRule, TakesAnApplicationServiceForAnApplication) {
    const Tree tree("desktop");
    EXPECT_EQ(tree.owner("python3.11", "time.sleep"), tree.id("python3.11", "time.sleep"));
}

TEST(ApplicationRule, FoldsNothingThatRunsInATerminalIntoTheTerminal) {
    const Tree tree("desktop");
    int shown = 0;
    for (const TreeProcess& one : tree.processes()) {
        if (one.terminal == 0)
            continue;
        const bool onlyWaits = one.command == "bash" || one.command == "sh" || one.command == "agetty";
        if (onlyWaits)
            EXPECT_EQ(tree[one.id], 0) << one.command;
        else if (one.id == tree.id("make", "-C part"))
            EXPECT_EQ(tree[one.id], tree.id("make", "-j2"));
        else
            EXPECT_EQ(tree[one.id], one.id) << one.command;
        shown += !onlyWaits;
    }
    EXPECT_EQ(shown, 15);
    EXPECT_EQ(tree.all("xterm").size(), 3U) << "one of them started in another";
    EXPECT_EQ(tree.owner("gnome-terminal-server"), tree.id("gnome-terminal-server"));
}

TEST(ApplicationRule, LooksPastTheWrapperThatLeadsAScope) {
    const Tree tree("desktop");
    EXPECT_EQ(tree.owner("bwrap"), 0) << "a sandbox that waits";
    EXPECT_EQ(tree.owner("zenity"), tree.id("zenity"));
    EXPECT_EQ(tree.owner("dash", "ibus-daemon"), 0) << "a shell that waits";
    EXPECT_EQ(tree.owner("soffice.bin"), tree.id("oosplash"));
}

TEST(ApplicationRule, KeepsTwoRunsOfOneApplicationApart) {
    const Tree tree("desktop");
    for (const char* program : {"xterm", "gnome-calculator"}) {
        EXPECT_GE(tree.all(program).size(), 2U);
        for (const std::int32_t id : tree.all(program))
            EXPECT_EQ(tree[id], id) << program;
    }
}

TEST(ApplicationRule, LetsTheOldestLeftProcessLeadAScopeWhoseLeaderEnded) {
    const Tree whole("browser");
    std::vector<TreeProcess> tree = whole.processes();
    const std::int32_t browser = whole.all("chromium").front();
    std::erase_if(tree, [&](const TreeProcess& one) { return one.id == browser; });
    const std::map<std::int32_t, std::int32_t> result = owners(tree);
    const std::int32_t oldest = whole.all("chrome_crashpad_handler").front();
    EXPECT_EQ(result.at(oldest), oldest);
    for (const std::int32_t id : whole.all("chromium", "--type=renderer"))
        EXPECT_EQ(result.at(id), oldest);
}

TEST(ApplicationRule, JoinsScopesOverSeveralSteps) {
    const std::vector<TreeProcess> tree{process(100, 1, "/opt/a/a", "app-a-1.scope"),
                                        process(98, 101, "/opt/a/a", "app-a-3.scope"),
                                        process(101, 100, "/opt/a/a", "app-a-2.scope")};
    std::vector<TreeProcess> reused = tree;
    reused[1].start = 102; // after the ids began anew
    for (const auto& [id, owner] : owners(reused))
        EXPECT_EQ(owner, 100) << id;
}

TEST(ApplicationRule, KeepsScopesApartUnlessTheOlderOnesProgramStartedItselfInTheOther) {
    std::vector<TreeProcess> tree{process(100, 1, "/opt/a/a", "app-a-1.scope"),
                                  process(101, 100, "/opt/a/b", "app-b-2.scope"),
                                  process(102, 100, "/opt/a/a", "app-a-3.scope")};
    tree[2].terminal = 34816;
    EXPECT_EQ(owners(tree).at(101), 101) << "another program";
    EXPECT_EQ(owners(tree).at(102), 102) << "on a terminal";
    tree[2].terminal = 0;
    tree[2].command = "script";
    EXPECT_EQ(owners(tree).at(102), 102) << "another script of one interpreter";
    tree[2].command = tree[0].command;
    EXPECT_EQ(owners(tree).at(102), 100);
    tree[2].start = 99;
    EXPECT_EQ(owners(tree).at(102), 102) << "a scope that is the older one";
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

// A busy script was absent from each sample that found it waiting for one of its short commands.
TEST(ApplicationRule, ShowsAShellThatComputesWhateverItWaitsFor) {
    std::vector<TreeProcess> tree{process(100, 1, "/usr/bin/bash"), process(101, 100, "/usr/bin/date")};
    EXPECT_EQ(owners(tree).at(100), 0);
    EXPECT_EQ(owners(tree, {100}).at(100), 100);
    tree[0].terminal = tree[1].terminal = 34816;
    EXPECT_EQ(owners(tree, {100}).at(100), 100) << "the script that a terminal was started with";
}

TEST(ApplicationRule, LetsNothingWorkForAShellThatComputes) {
    const std::vector<TreeProcess> tree{process(100, 1, "/usr/bin/bash"), process(101, 100, "/usr/bin/bash"),
                                        process(102, 101, "/usr/bin/bash"), process(103, 100, "/usr/bin/date")};
    for (const std::int32_t id : {101, 102, 103})
        EXPECT_NE(owners(tree, {100, 101}).at(id), 100) << id;
}

TEST(ApplicationRule, NeverLetsAShellThatComputesLeadTheProgramThatItStartsInAScope) {
    std::vector<TreeProcess> tree{process(100, 1, "/usr/bin/dash", "app-office-1.scope"),
                                  process(101, 100, "/usr/lib/office/program/office", "app-office-1.scope")};
    EXPECT_EQ(owners(tree, {100}).at(101), 101);
    EXPECT_EQ(owners(tree, {100}).at(100), 101) << "its work is the application's";
    tree[1] = process(101, 100, "/usr/bin/bash", "app-office-1.scope");
    tree.push_back(process(102, 101, "/usr/bin/date"));
    EXPECT_EQ(owners(tree, {100, 101}).at(100), 100) << "a script alone in its scope";
    EXPECT_EQ(owners(tree, {100, 101}).at(101), 101);
}

// What a user's large transfer cost stood nowhere: it is the log-in server's process that works.
TEST(ApplicationRule, ShowsTheLogInThatCarriesALargeTransfer) {
    std::vector<TreeProcess> tree = Tree("ssh").processes();
    const std::int32_t session = Tree("ssh").id("sshd", "user@pts");
    tree.push_back(process(30000, session, "/usr/lib/openssh/sftp-server"));
    tree.push_back(process(30001, session, "/usr/bin/scp"));
    const std::map<std::int32_t, std::int32_t> busy = owners(tree, {session});
    EXPECT_EQ(busy.at(session), session);
    EXPECT_EQ(busy.at(30000), 30000);
    EXPECT_EQ(busy.at(30001), 30001);
    EXPECT_EQ(owners(tree).at(session), 0) << "one that waits";
}

// Outside of scopes they were applications of their own: their parent is process 1.
TEST(ApplicationRule, GivesCrashHandlersBackToTheirBrowser) {
    const Tree whole("browser");
    std::vector<TreeProcess> tree;
    for (TreeProcess one : whole.processes()) {
        one.group = "/";
        if (one.program.ends_with("chrome_crashpad_handler"))
            one.parent = 1;
        tree.push_back(one);
    }
    const std::int32_t browser = whole.all("chromium").front();
    const std::map<std::int32_t, std::int32_t> result = owners(tree);
    EXPECT_EQ(whole.all("chrome_crashpad_handler").size(), 2U);
    for (const std::int32_t id : whole.all("chrome_crashpad_handler"))
        EXPECT_EQ(result.at(id), browser) << id;
}

TEST(ApplicationRule, GivesACrashHandlerToTheYoungestOlderRunOfItsProgramAndToNoOther) {
    std::vector<TreeProcess> tree{process(100, 1, "/opt/web/web"), process(200, 1, "/opt/web/web"),
                                  process(201, 1, "/opt/web/chrome_crashpad_handler"), process(300, 1, "/opt/web/web"),
                                  process(301, 1, "/opt/other/crashpad_handler")};
    EXPECT_EQ(owners(tree).at(201), 200);
    EXPECT_EQ(owners(tree).at(301), 301) << "of a program that ended";
    tree[2].terminal = 34816;
    EXPECT_EQ(owners(tree).at(201), 201) << "on a terminal";
    tree[2] = process(201, 1, "/opt/web/updater");
    EXPECT_EQ(owners(tree).at(201), 201) << "another program of the folder";
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
