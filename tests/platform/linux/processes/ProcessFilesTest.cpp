// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/ProcessFiles.h>

#include "tests/support/linux/ProcessTree.h"

#include <gtest/gtest.h>

#include <map>
#include <unistd.h>

namespace sentrel::platform {
namespace {

constexpr const char* line = "4711 (editor) S 1 4711 4600 34818 4711 4194560 120 7 1 0 250 31 9 8 20 0 14 0 987654 "
                             "1073741824 5120 18446744073709551615 1 1 0 0 0 0 0 0 0 0 0 0 17 1 0 0 0 0 0\n";

TEST(ProcessStat, GivesTheFieldsThatMatter) {
    const std::optional<ProcessStat> stat = parseProcessStat(line);
    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->command, "editor");
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->parent, 1);
    EXPECT_EQ(stat->session, 4600);
    EXPECT_EQ(stat->terminal, 34818);
    EXPECT_EQ(stat->userTicks, 250U);
    EXPECT_EQ(stat->systemTicks, 31U);
    EXPECT_EQ(stat->threads, 14);
    EXPECT_EQ(stat->startTicks, 987654U);
    EXPECT_FALSE(stat->isKernelThread());
    EXPECT_FALSE(stat->isZombie());
}

TEST(ProcessStat, TakesACommandWithBlanksAndParenthesesWhole) {
    const std::string text = "7 (a) S 1 (b)) R 3 7 7 0 -1 64 0 0 0 0 1 2 0 0 20 0 1 0 5";
    const std::optional<ProcessStat> stat = parseProcessStat(text);
    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->command, "a) S 1 (b)");
    EXPECT_EQ(stat->state, 'R');
    EXPECT_EQ(stat->parent, 3);
    EXPECT_EQ(stat->startTicks, 5U) << "the last field asked for, without a line end";
}

TEST(ProcessStat, KnowsKernelThreadsAndZombies) {
    EXPECT_TRUE(parseProcessStat("2 (kthreadd) S 0 0 0 0 -1 2129984 0 0 0 0 0 0 0 0 20 0 1 0 3 0 0")->isKernelThread());
    const std::optional<ProcessStat> zombie =
        parseProcessStat("9 (gone) Z 1 9 9 0 -1 4227084 0 0 0 0 0 0 0 0 20 0 1 0 3 0 0");
    EXPECT_TRUE(zombie->isZombie());
    const std::optional<ProcessStat> headless =
        parseProcessStat("9 (gone) Z 1 9 9 0 -1 4227084 0 0 0 0 0 0 0 0 20 0 3 0 3 0 0");
    EXPECT_FALSE(headless->isZombie());
    EXPECT_TRUE(headless->lostItsFirstThread());
}

TEST(ProcessStat, RefusesWhatIsNotOfItsForm) {
    for (const char* text :
         {"", "\n", "1", "1 editor S 1 1", "1 )a( S 1", "1 (a)", "1 (a) ", "1 (a) SS 1 9 9 0 -1",
          "1 (a) S x 9 9 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 3", "1 (a) S 1 9 9 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0",
          "1 (a) S 1 9 9 0 -1 0 0 0 0 0 99999999999999999999 0 0 0 20 0 1 0 3"})
        EXPECT_FALSE(parseProcessStat(text)) << text;
}

TEST(ProcessStat, SurvivesEveryTruncation) {
    const std::string_view whole = line;
    for (std::size_t length = 0; length < whole.find("987654"); ++length)
        EXPECT_FALSE(parseProcessStat(whole.substr(0, length))) << length;
}

TEST(ProcessFiles, ReadsTheFiguresOfTheWholeMachine) {
    EXPECT_EQ(parseLastId("0.00 0.01 0.05 2/345 67890\n"), 67890);
    EXPECT_EQ(parseLastId("0.00 0.01 0.05 2/345 67890"), 67890);
    EXPECT_FALSE(parseLastId("0.00 0.01 0.05 2/345\n"));
    EXPECT_FALSE(parseLastId(""));
    EXPECT_EQ(parseResidentPages("2000 345 300 1 0 200 0\n"), 345U);
    EXPECT_FALSE(parseResidentPages("2000"));
}

TEST(ProcessFiles, ReadsWhatAProcessReadAndWrote) {
    constexpr std::string_view text = "rchar: 323934931\nwchar: 323929600\nsyscr: 632687\nsyscw: 632675\n"
                                      "read_bytes: 4096\nwrite_bytes: 323932160\ncancelled_write_bytes: 0\n";
    EXPECT_EQ(parseProcessStorage(text), (StorageBytes{4096, 323932160}));
    for (const std::string_view bad :
         {"", "read_bytes: 4096", "read_bytes: 1\nwrite_bytes: \n", "read_bytes: 1\nwrite_bytes: 1 2\n",
          "read_bytes: -1\nwrite_bytes: 1\n", "read_bytes: 99999999999999999999\nwrite_bytes: 1\n"})
        EXPECT_FALSE(parseProcessStorage(bad)) << bad;
    for (std::size_t length = 0; length < text.find("cancelled") - 10; ++length)
        EXPECT_FALSE(parseProcessStorage(text.substr(0, length))) << length;
}

TEST(ProcessFiles, ReadsTheWordsOfACommandLine) {
    using Words = std::vector<std::string>;
    using namespace std::string_view_literals;
    EXPECT_EQ(parseCommandLine("vi\0-R\0a b\0"sv), (Words{"vi", "-R", "a b"}));
    EXPECT_EQ(parseCommandLine("nginx: worker process"), (Words{"nginx: worker process"}));
    EXPECT_EQ(parseCommandLine("sh\0-c\0\0"sv), (Words{"sh", "-c", ""}));
    EXPECT_EQ(parseCommandLine(""), Words{});
}

TEST(ProcessFiles, FindsTheApplicationScopeOfAControlGroup) {
    const std::map<std::string, std::string> cases{
        {"0::/user.slice/user@1000.service/app.slice/app-gnome-org.example.A-12.scope\n",
         "app-gnome-org.example.A-12.scope"},
        {"0::/user.slice/app-a@1.service", "app-a@1.service"},
        {"0::/user.slice/app-a-1.scope/tab-3.scope\n", "app-a-1.scope"},
        {"12:cpu:/app-wrong-1.scope\n1:name=systemd:/user.slice/app-right-1.scope\n0::/\n", "app-right-1.scope"},
        {"0::/user.slice/session-2.scope\n", ""},
        {"0::/user.slice/vte-spawn-1.scope\n", ""},
        {"0::/app-a-1.slice/b.service\n", ""},
        {"0::/\n", ""},
        {"nonsense", ""},
        {"", ""}};
    for (const auto& [text, scope] : cases)
        EXPECT_EQ(applicationScope(text), scope) << text;
}

TEST(ProcessFiles, ReadsTheEntryIdInAScopesName) {
    const std::map<std::string, std::string> cases{{"app-gnome-org.example.Notes-1234.scope", "org.example.Notes"},
                                                   {"app-org.example.Notes-1234.scope", "org.example.Notes"},
                                                   {"app-flatpak-org.example.Notes-77.scope", "org.example.Notes"},
                                                   {"app-gnome-my\\x2dnotes-1234.scope", "my-notes"},
                                                   {"app-org.example.Agent@autostart.service", "org.example.Agent"},
                                                   {"app-kde-org.example.Agent@0a1b.service", "org.example.Agent"},
                                                   {"app-org.example.Agent.service", "org.example.Agent"},
                                                   {"app-a\\x2.scope", ""},
                                                   {"app-a\\x2-1.scope", "a\\x2"},
                                                   {"app-.scope", ""},
                                                   {"session-2.scope", ""},
                                                   {"", ""}};
    for (const auto& [scope, identifier] : cases)
        EXPECT_EQ(applicationIdentifier(scope), identifier) << scope;
}

TEST(ProcessFiles, ListsIdsInRisingOrderAndNothingElse) {
    const ProcessTree tree;
    for (const std::int32_t id : {1200, 3, 45, 100000})
        tree.put({.id = id, .command = "x"});
    tree.folder().makeFolder("proc/sys");
    tree.folder().makeFolder("proc/12x");
    tree.folder().makeFolder("proc/0");
    tree.folder().makeFolder("proc/99999999999");
    ProcessFiles files(tree.root());
    std::vector<std::int32_t> ids;
    ASSERT_TRUE(files.list(ids));
    EXPECT_EQ(ids, (std::vector<std::int32_t>{3, 45, 1200, 100000}));
    tree.remove(45);
    ASSERT_TRUE(files.list(ids));
    EXPECT_EQ(ids, (std::vector<std::int32_t>{3, 1200, 100000}));
}

TEST(ProcessFiles, FailsQuietlyWithoutAProc) {
    const TemporaryFolder empty;
    ProcessFiles files{SystemRoot(empty.path())};
    std::vector<std::int32_t> ids;
    EXPECT_FALSE(files.list(ids));
    EXPECT_FALSE(files.linkCount());
    EXPECT_FALSE(files.lastId());
    EXPECT_FALSE(files.stat(7));
    EXPECT_FALSE(files.residentPages(7));
    EXPECT_FALSE(files.user(7));
    EXPECT_EQ(files.program(7), "");
    EXPECT_EQ(files.scope(7), "");
    EXPECT_TRUE(files.arguments(7).empty());
}

TEST(ProcessFiles, DropsTheMarkOfAProgramThatWasReplaced) {
    const ProcessTree tree;
    tree.put({.id = 7, .command = "a", .program = "/opt/a/a (deleted)"});
    EXPECT_EQ(ProcessFiles(tree.root()).program(7), "/opt/a/a");
}

TEST(ProcessFiles, FindsItselfOnTheRealMachine) {
    ProcessFiles files{SystemRoot()};
    std::vector<std::int32_t> ids;
    ASSERT_TRUE(files.list(ids));
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
    EXPECT_TRUE(std::binary_search(ids.begin(), ids.end(), ::getpid()));
    const std::optional<ProcessStat> self = files.stat(::getpid());
    ASSERT_TRUE(self);
    EXPECT_EQ(self->parent, ::getppid());
    EXPECT_EQ(self->session, ::getsid(0));
    EXPECT_EQ(files.user(::getpid()), ::geteuid());
    EXPECT_EQ(files.program(::getpid()).substr(0, 1), "/");
    EXPECT_GT(files.residentPages(::getpid()), 0U);
    EXPECT_FALSE(files.arguments(::getpid()).empty());
    EXPECT_GT(files.linkCount(), ids.size());
    EXPECT_TRUE(files.lastId());
}

TEST(ProcessFiles, TellTheNameOfAUser) {
    const std::string users = "root:x:0:0:root:/root:/bin/bash\n#:\n:x:7:\nanna:x:1000:1000::/home/anna:/bin/sh\n"
                              "otto:x:1000:1000::/:\ncut:x:12";
    EXPECT_EQ(parseUserName(users, 0), "root");
    EXPECT_EQ(parseUserName(users, 1000), "anna") << "the first of that number";
    EXPECT_EQ(parseUserName(users, 12), "cut");
    EXPECT_EQ(parseUserName(users, 7), "");
    EXPECT_EQ(parseUserName(users, 1), "");
    EXPECT_EQ(parseUserName("", 0), "");
    EXPECT_EQ(parseUserName("root:x:0x0:", 0), "");
}

} // namespace
} // namespace sentrel::platform
