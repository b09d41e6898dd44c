#include <SentrelKit/platform/linux/OpenAddress.h>

#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace sentrel::platform {

namespace {

const char* const address = "sentreltest://host/a;b$(touch x)?c='d'&e=%20f";

std::string contentOf(const std::string& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Opens the address in a process of its own, this program started again, because GIO reads only once where applications
// are. What the opener was given is in the file "opened" then.
class OpenAddress : public testing::Test {
protected:
    void SetUp() override {
        if (const char* text = std::getenv("SENTREL_TEST_ADDRESS"))
            _exit(openAddress(text) ? 0 : 1);
    }

    // A program that writes its first argument down.
    void writeProgram(const std::string& name) const {
        folder.write(name, "#!/bin/sh\nprintf '%s' \"$1\" > " + folder.path("part") + "\nmv " + folder.path("part") +
                               " " + folder.path("opened") + "\n");
        ASSERT_EQ(chmod(folder.path(name).c_str(), 0755), 0);
    }

    [[nodiscard]] int openElsewhere(const std::string& text) const {
        const std::string path = "PATH=" + folder.path("bin") + ":/usr/bin:/bin";
        const std::string home = "XDG_DATA_HOME=" + folder.path("data");
        const std::string config = "XDG_CONFIG_HOME=" + folder.path("config");
        const std::string dirs = "XDG_DATA_DIRS=" + folder.path("none");
        const std::string bus = "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder.path("no-bus");
        const std::string what = "SENTREL_TEST_ADDRESS=" + text;
        std::vector<const char*> environment{path.c_str(), home.c_str(), config.c_str(),
                                             dirs.c_str(), bus.c_str(),  what.c_str()};
        for (char** entry = environ; *entry; ++entry)
            if (std::string_view(*entry).find("SAN_OPTIONS=") != std::string_view::npos)
                environment.push_back(*entry);
        environment.push_back(nullptr);
        const char* const arguments[] = {"opener", "--gtest_filter=OpenAddress.*", nullptr};
        pid_t child = 0;
        if (posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, const_cast<char**>(arguments),
                        const_cast<char**>(environment.data())) != 0)
            return -1;
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    [[nodiscard]] std::string openedText() const {
        for (int tries = 0; tries < 1000 && access(folder.path("opened").c_str(), R_OK) != 0; ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // the program runs on by itself
        return contentOf(folder.path("opened"));
    }

    TemporaryFolder folder;
};

TEST_F(OpenAddress, StartsTheApplicationOfTheSchemeWithoutAShell) {
    writeProgram("viewer");
    folder.write("data/applications/viewer.desktop",
                 "[Desktop Entry]\nType=Application\nName=Viewer\nExec=" + folder.path("viewer") +
                     " %u\nMimeType=x-scheme-handler/sentreltest;\n");
    folder.write("config/mimeapps.list", "[Default Applications]\nx-scheme-handler/sentreltest=viewer.desktop\n");
    ASSERT_EQ(openElsewhere(address), 0);
    EXPECT_EQ(openedText(), address);
}

TEST_F(OpenAddress, StartsTheDesktopsOpenerWhereNoApplicationIsKnown) {
    folder.makeFolder("bin");
    writeProgram("bin/xdg-open");
    ASSERT_EQ(openElsewhere(address), 0);
    EXPECT_EQ(openedText(), address);
}

TEST_F(OpenAddress, SaysSoWhereNothingCanBeStarted) {
    if (access("/usr/bin/xdg-open", X_OK) == 0)
        GTEST_SKIP() << "this machine has an opener of its own";
    EXPECT_EQ(openElsewhere(address), 1);
}

TEST(OpenAddressSyntax, RefusesWhatIsNoAbsoluteAddress) {
    for (const char* text : {"", "example.org", "/etc/hosts", "--help", "http://a b", "http://%zz"})
        EXPECT_FALSE(openAddress(text)) << text;
    EXPECT_FALSE(openAddress(std::string("sentreltest://a\0b", 17)));
}

} // namespace

} // namespace sentrel::platform
