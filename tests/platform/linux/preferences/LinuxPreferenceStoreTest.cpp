// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/LinuxPreferenceStore.h>

#include "tests/support/ConfigurationFolder.h"

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;
using Address = PropertyList::Address;

constexpr const char* fileName = "test.suite.plist";

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A suite whose file lies in a folder of the test's own. `other` is a second store, as another process has one.
class LinuxPreferenceStoreTest : public testing::Test {
protected:
    std::string path() const { return folder->path(fileName); }

    bool removeKey(std::string key) {
        const std::vector<std::string> keys{std::move(key)};
        return suite->remove(keys);
    }

    /// Runs a change that must be refused; returns what it said on the standard error stream.
    static std::string refusal(const std::function<bool()>& change) {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(change());
        return testing::internal::GetCapturedStderr();
    }

    ConfigurationFolder folder;
    LinuxPreferenceStore store;
    LinuxPreferenceStore otherStore;
    std::shared_ptr<PreferenceSuite> suite = store.suite("test.suite");
    std::shared_ptr<PreferenceSuite> other = otherStore.suite("test.suite");
};

TEST_F(LinuxPreferenceStoreTest, AMissingFileReadsAsEmptyAndIsNotMade) {
    EXPECT_EQ(suite->object("key"), std::nullopt);
    EXPECT_THAT(suite->keys(), IsEmpty());
    EXPECT_TRUE(removeKey("key"));
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(LinuxPreferenceStoreTest, KeepsEveryKindApart) {
    EXPECT_TRUE(suite->set("double", 1.0));
    EXPECT_TRUE(suite->set("integer", 1));
    EXPECT_TRUE(suite->set("boolean", true));
    EXPECT_TRUE(suite->set("text", "1"));
    EXPECT_TRUE(suite->set("bytes", Bytes{1}));
    EXPECT_TRUE(suite->set("date", Date{1.25}));
    EXPECT_TRUE(suite->set("list", List{1, 1.0, true}));
    EXPECT_TRUE(suite->set("dictionary", Dictionary{{"1", 1.0}}));
    for (const auto& reader : {suite, other}) {
        EXPECT_EQ(reader->object("double"), PropertyList(1.0));
        EXPECT_EQ(reader->object("integer"), PropertyList(1));
        EXPECT_EQ(reader->object("boolean"), PropertyList(true));
        EXPECT_EQ(reader->object("text"), PropertyList("1"));
        EXPECT_EQ(reader->object("bytes"), PropertyList(Bytes{1}));
        EXPECT_EQ(reader->object("date"), PropertyList(Date{1.25}));
        EXPECT_EQ(reader->object("list"), PropertyList(List{1, 1.0, true}));
        EXPECT_EQ(reader->object("dictionary"), PropertyList(Dictionary{{"1", 1.0}}));
        EXPECT_EQ(reader->keys().size(), 8U);
    }
}

TEST_F(LinuxPreferenceStoreTest, KeepsAddressesAsMacOSDoes) {
    const Address web{"https://example.com/a?b=c#d"};
    const Address file{"file:///tmp/a%20folder/%C3%BC"};
    EXPECT_TRUE(suite->set("web", web));
    EXPECT_TRUE(suite->set("file", file));
    EXPECT_EQ(other->address("web"), web);
    EXPECT_EQ(other->address("file"), file);
    EXPECT_TRUE(other->object("web")->as<Bytes>());
    EXPECT_EQ(other->object("file"), PropertyList("/tmp/a folder/ü"));
    EXPECT_TRUE(suite->set("home", "~/x"));
    EXPECT_EQ(suite->address("home"), Address{std::string("file://") + std::getenv("HOME") + "/x"});
    EXPECT_TRUE(suite->set("text", "no path"));
    EXPECT_EQ(suite->address("text"), std::nullopt);
    EXPECT_TRUE(suite->set("bytes", Bytes{1, 2}));
    EXPECT_EQ(suite->address("bytes"), std::nullopt);
    EXPECT_EQ(suite->address("missing"), std::nullopt);
}

TEST_F(LinuxPreferenceStoreTest, AChangeIsSeenAtTheNextReadOfTheOther) {
    for (int value = 0; value < 30; ++value) {
        ASSERT_TRUE((value % 2 == 0 ? suite : other)->set("key", value));
        ASSERT_EQ(suite->object("key"), PropertyList(value));
        ASSERT_EQ(other->object("key"), PropertyList(value));
    }
}

TEST_F(LinuxPreferenceStoreTest, KeepsTheChangesOfOthers) {
    EXPECT_TRUE(suite->set("mine", 1));
    EXPECT_TRUE(other->set("yours", 2));
    EXPECT_TRUE(suite->set("mine", 3));
    EXPECT_THAT(other->keys(), UnorderedElementsAre("mine", "yours"));
    EXPECT_TRUE(removeKey("yours"));
    EXPECT_THAT(other->keys(), ElementsAre("mine"));
}

TEST_F(LinuxPreferenceStoreTest, WritesABinaryFileThatOnlyTheUserMayRead) {
    const mode_t before = umask(0);
    EXPECT_TRUE(suite->set("key", 1));
    umask(before);
    EXPECT_THAT(contentOf(path()), testing::StartsWith("bplist00"));
    struct stat status {};
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(chmod(path().c_str(), 0644), 0);
    EXPECT_TRUE(suite->set("key", 2));
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(LinuxPreferenceStoreTest, LeavesNoFileBehindButTheSuiteAndItsLock) {
    EXPECT_TRUE(suite->set("key", 1));
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder->path()))
        names.push_back(entry.path().filename());
    EXPECT_THAT(names, UnorderedElementsAre(fileName, ".test.suite.plist.lock"));
}

TEST_F(LinuxPreferenceStoreTest, OpensInAToolThatIsNotOurs) {
    EXPECT_TRUE(suite->set("integer", -5));
    EXPECT_TRUE(suite->set("double", 0.5));
    EXPECT_TRUE(suite->set("boolean", true));
    EXPECT_TRUE(suite->set("text", "ü\U0001F600"));
    EXPECT_TRUE(suite->set("date", Date{1500000000}));
    folder->write("check.py", "import plistlib, sys, datetime\n"
                              "assert plistlib.load(open(sys.argv[1], 'rb')) == {'integer': -5, 'double': 0.5, "
                              "'boolean': True, 'text': '\\u00fc\\U0001F600', "
                              "'date': datetime.datetime(2017, 7, 14, 2, 40)}\n");
    if (std::system("python3 -c 'import plistlib' 2>/dev/null") != 0)
        GTEST_SKIP() << "there is no python3 with plistlib to read the file";
    EXPECT_EQ(std::system(("python3 " + folder->path("check.py") + " " + path()).c_str()), 0);
}

TEST_F(LinuxPreferenceStoreTest, ReadsAndExtendsFilesInXml) {
    folder->write(fileName, "<plist version=\"1.0\"><dict><key>a</key><real>1</real></dict></plist>");
    EXPECT_EQ(suite->object("a"), PropertyList(1.0));
    EXPECT_TRUE(suite->set("b", 2));
    EXPECT_EQ(other->object("a"), PropertyList(1.0));
    EXPECT_EQ(other->object("b"), PropertyList(2));
}

TEST_F(LinuxPreferenceStoreTest, SeesAFileThatGoesAwayAndComesBack) {
    EXPECT_TRUE(suite->set("key", 1));
    folder->remove(fileName);
    EXPECT_EQ(suite->object("key"), std::nullopt);
    EXPECT_TRUE(other->set("key", 2));
    EXPECT_EQ(suite->object("key"), PropertyList(2));
}

TEST_F(LinuxPreferenceStoreTest, RefusesWhatAPropertyListCannotHoldAndKeepsTheRest) {
    EXPECT_TRUE(suite->set("key", 1));
    const std::string line = "Error: cannot change preferences " + path() + " -- ";
    EXPECT_THAT(refusal([&] { return suite->set("text", "bad \xC3"); }), HasSubstr(line));
    EXPECT_THAT(refusal([&] { return suite->set("bad \xC3", 1); }), HasSubstr(line));
    EXPECT_THAT(refusal([&] { return suite->set("nothing", PropertyList()); }), HasSubstr(line));
    EXPECT_THAT(refusal([&] { return suite->set("list", List{Address{"http://x"}}); }), HasSubstr(line));
    EXPECT_THAT(refusal([&] { return suite->set("large", Bytes(17 << 20)); }), HasSubstr(line));
    for (const auto& reader : {suite, other})
        EXPECT_THAT(reader->keys(), ElementsAre("key"));
}

TEST_F(LinuxPreferenceStoreTest, AFileThatIsNoPropertyListReadsAsEmptyAndIsNeverOverwritten) {
    for (const std::string content :
         {"hello world", "{ old = notation; }", "<plist version=\"1.0\"><array/></plist>", "bplist00 no more"}) {
        folder->write(fileName, content);
        EXPECT_EQ(suite->object("key"), std::nullopt);
        EXPECT_THAT(suite->keys(), IsEmpty());
        const std::string line = refusal([&] { return suite->set("key", 1); });
        EXPECT_EQ(line, "Error: cannot change preferences " + path() + " -- Invalid argument\n");
        EXPECT_FALSE(refusal([&] { return removeKey("key"); }).empty());
        EXPECT_EQ(contentOf(path()), content);
    }
}

TEST_F(LinuxPreferenceStoreTest, AKeyWithAZeroCharacterHidesNoOtherAndIsNeverLost) {
    // Every reader of such a file was stopped by an assertion of the library below. A change cannot keep the key, which
    // no C text can hold, so it is refused until the key is gone.
    const std::string zero("a\0b", 3);
    const std::string content = std::string("bplist00\xD2\1\2\3\3\x63\0a\0\0\0b\x51z\x09", 23) +
                                std::string("\x08\x0D\x14\x16\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\4", 20) +
                                std::string(15, '\0') + "\x17";
    folder->write(fileName, content);
    EXPECT_THAT(suite->keys(), UnorderedElementsAre(zero, "z"));
    EXPECT_EQ(suite->object("z"), PropertyList(true));
    EXPECT_FALSE(refusal([&] { return suite->set("other", 1); }).empty());
    EXPECT_EQ(contentOf(path()), content);
    EXPECT_TRUE(removeKey(zero));
    EXPECT_THAT(other->keys(), ElementsAre("z"));
}

TEST_F(LinuxPreferenceStoreTest, AnEmptyFileIsAnEmptySuite) {
    folder->write(fileName, "");
    EXPECT_TRUE(suite->set("key", 1));
    EXPECT_EQ(other->object("key"), PropertyList(1));
}

TEST_F(LinuxPreferenceStoreTest, AFolderInTheFilesPlaceReadsAsEmptyAndStays) {
    folder->makeFolder(fileName);
    EXPECT_EQ(suite->object("key"), std::nullopt);
    EXPECT_THAT(refusal([&] { return suite->set("key", 1); }), HasSubstr("Is a directory"));
    EXPECT_TRUE(std::filesystem::is_directory(path()));
}

TEST_F(LinuxPreferenceStoreTest, APipeInTheFilesPlaceBlocksNobody) {
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    EXPECT_EQ(suite->object("key"), std::nullopt);
    EXPECT_FALSE(refusal([&] { return suite->set("key", 1); }).empty());
    EXPECT_TRUE(std::filesystem::is_fifo(path()));
}

TEST_F(LinuxPreferenceStoreTest, AHugeFileReadsAsEmptyAndStays) {
    folder->write(fileName, "");
    ASSERT_EQ(truncate(path().c_str(), 100 << 20), 0);
    EXPECT_EQ(suite->object("key"), std::nullopt);
    EXPECT_THAT(refusal([&] { return suite->set("key", 1); }), HasSubstr("File too large"));
    EXPECT_EQ(std::filesystem::file_size(path()), std::uintmax_t{100} << 20);
}

TEST_F(LinuxPreferenceStoreTest, FollowsASymbolicLinkAndKeepsIt) {
    folder->makeFolder("elsewhere");
    folder->write("elsewhere/real.plist", "<plist><dict><key>kept</key><string>yes</string></dict></plist>");
    folder->link(fileName, "elsewhere/real.plist");
    EXPECT_EQ(suite->object("kept"), PropertyList("yes"));
    EXPECT_TRUE(suite->set("key", 1));
    EXPECT_TRUE(std::filesystem::is_symlink(path()));
    EXPECT_EQ(other->object("key"), PropertyList(1));
    EXPECT_EQ(other->object("kept"), PropertyList("yes"));
    EXPECT_THAT(contentOf(folder->path("elsewhere/real.plist")), testing::StartsWith("bplist00"));
}

TEST_F(LinuxPreferenceStoreTest, ALinkThatLeadsNowhereReadsAsEmptyAndStays) {
    for (const std::string& target : {std::string("missing"), std::string(fileName)}) {
        folder->link(fileName, target);
        EXPECT_EQ(suite->object("key"), std::nullopt);
        EXPECT_FALSE(refusal([&] { return suite->set("key", 1); }).empty());
        EXPECT_TRUE(std::filesystem::is_symlink(path()));
        folder->remove(fileName);
    }
}

TEST_F(LinuxPreferenceStoreTest, OverwritesWhatAKilledWriterLeftBehind) {
    folder->write(".test.suite.plist.new", "half a fi");
    EXPECT_TRUE(suite->set("key", 1));
    EXPECT_EQ(other->object("key"), PropertyList(1));
    EXPECT_FALSE(std::filesystem::exists(folder->path(".test.suite.plist.new")));
}

TEST_F(LinuxPreferenceStoreTest, MakesTheConfigurationFolderWhenItIsMissing) {
    const EnvironmentValue configuration("XDG_CONFIG_HOME", folder->path("not/yet"));
    LinuxPreferenceStore fresh;
    EXPECT_TRUE(fresh.suite("test.suite")->set("key", 1));
    EXPECT_TRUE(std::filesystem::exists(folder->path("not/yet/test.suite.plist")));
}

TEST_F(LinuxPreferenceStoreTest, UsesTheDefaultFolderOfTheUsersHome) {
    const EnvironmentValue home("HOME", folder->path());
    for (const char* notAFolder : {"", "relative"}) {
        const EnvironmentValue configuration("XDG_CONFIG_HOME", notAFolder);
        LinuxPreferenceStore fresh;
        EXPECT_TRUE(fresh.suite("test.suite")->set("key", notAFolder));
        EXPECT_EQ(fresh.suite("test.suite")->object("key"), PropertyList(notAFolder));
    }
    EXPECT_TRUE(std::filesystem::exists(folder->path(".config/test.suite.plist")));
}

TEST_F(LinuxPreferenceStoreTest, GivesOneSuiteForOneNameAndNoneForImpossibleNames) {
    EXPECT_EQ(store.suite("test.suite"), suite);
    EXPECT_NE(store.suite("another"), suite);
    for (const std::string& name :
         {std::string(), std::string("a/b"), std::string("../up"), std::string("a\0b", 3), std::string(250, 'x')})
        EXPECT_EQ(store.suite(name), nullptr) << name;
}

TEST_F(LinuxPreferenceStoreTest, AnUnchangedValueWritesNoNewFile) {
    EXPECT_TRUE(suite->set("key", 1));
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(stat(path().c_str(), &before), 0);
    EXPECT_TRUE(suite->set("key", 1));
    EXPECT_TRUE(removeKey("missing"));
    ASSERT_EQ(stat(path().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_TRUE(suite->set("key", 1.0)) << "another kind is another value";
    EXPECT_EQ(other->object("key"), PropertyList(1.0));
}

TEST_F(LinuxPreferenceStoreTest, AWriterWaitsForTheLockOfAnother) {
    EXPECT_TRUE(suite->set("key", 1));
    const int lock = open(folder->path(".test.suite.plist.lock").c_str(), O_RDWR | O_CLOEXEC);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(lock, F_OFD_SETLK, &whole), 0);
    std::thread writer([&] { EXPECT_TRUE(suite->set("key", 2)); });
    EXPECT_EQ(other->object("key"), PropertyList(1)) << "readers need no lock";
    close(lock);
    writer.join();
    EXPECT_EQ(other->object("key"), PropertyList(2));
}

/// Runs a check in a process with mounts of its own, where `folder` is a small file system in memory. The check returns
/// true if all is as it should be.
enum class Outcome { good, bad, impossible };

Outcome onSmallFileSystem(const std::string& folder, const std::function<bool()>& check) {
    const pid_t child = fork();
    if (child == 0) {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") != 0)
            _exit(2);
        _exit(check() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status))
        return Outcome::bad;
    return WEXITSTATUS(status) == 0 ? Outcome::good : WEXITSTATUS(status) == 1 ? Outcome::bad : Outcome::impossible;
}

TEST_F(LinuxPreferenceStoreTest, AFullDiskLosesNothing) {
    testing::internal::CaptureStderr();
    const Outcome outcome = onSmallFileSystem(folder->path(), [&] {
        const bool first = suite->set("small", Bytes(1000, 1));
        const bool second = suite->set("large", Bytes(80'000, 2));
        const bool third = suite->set("small again", Bytes(1000, 3));
        return first && !second && third && other->object("small") == PropertyList(Bytes(1000, 1)) &&
               !other->object("large") && !suite->object("large") && other->object("small again");
    });
    const std::string lines = testing::internal::GetCapturedStderr();
    if (outcome == Outcome::impossible)
        GTEST_SKIP() << "no permission to mount a file system";
    EXPECT_EQ(outcome, Outcome::good);
    EXPECT_EQ(lines, "Error: cannot change preferences " + path() + " -- No space left on device\n");
}

TEST_F(LinuxPreferenceStoreTest, AReadOnlyFolderIsReadAndRefusesChanges) {
    testing::internal::CaptureStderr();
    const Outcome outcome = onSmallFileSystem(folder->path(), [&] {
        const bool first = suite->set("key", 1);
        if (mount("none", folder->path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            return false;
        const bool second = suite->set("key", 2);
        return first && !second && suite->object("key") == PropertyList(1) && other->object("key") == PropertyList(1);
    });
    const std::string lines = testing::internal::GetCapturedStderr();
    if (outcome == Outcome::impossible)
        GTEST_SKIP() << "no permission to mount a file system";
    EXPECT_EQ(outcome, Outcome::good);
    EXPECT_EQ(lines, "Error: cannot change preferences " + path() + " -- Read-only file system\n");
}

TEST_F(LinuxPreferenceStoreTest, FourThreadsReadAndWriteOneSuite) {
    constexpr int writes = 10;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            const auto& mine = thread % 2 == 0 ? suite : other;
            for (int i = 0; i < writes; ++i) {
                const std::string key = std::to_string(thread) + "/" + std::to_string(i);
                EXPECT_TRUE(mine->set(key, i));
                EXPECT_EQ(mine->object(key), PropertyList(i));
                EXPECT_TRUE(mine->set("shared", thread));
                EXPECT_TRUE(mine->object("shared"));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(suite->keys().size(), 4U * writes + 1);
    EXPECT_EQ(other->keys().size(), 4U * writes + 1);
}

} // namespace
} // namespace sentrel::platform
