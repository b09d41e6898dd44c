// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/desktop/OpenAddress.h>

#include <SentrelKit/platform/linux/desktop/LinuxDesktop.h>
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/MainLoop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
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
        const char* const text = std::getenv("SENTREL_TEST_ADDRESS");
        if (!text)
            return;
        const std::string_view how(std::getenv("SENTREL_TEST_OPENER"));
        if (how == "this thread")
            _exit(openAddress(text) ? 0 : 1);
        _exit(openAsALink(text, how == "a link in a served loop") ? 0 : 1);
    }

    // As a link does it, in a host that ignores a signal.
    static bool openAsALink(const char* text, bool servesMainQueue) {
        std::signal(SIGTERM, SIG_IGN);
        LinuxDispatch dispatch;
        LinuxDesktop desktop(dispatch);
        std::promise<bool> opened;
        auto result = opened.get_future();
        dispatch.backgroundQueue()->async([&] { opened.set_value(desktop.openAddress(text)); });
        const auto isOpen = [&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
        if (servesMainQueue && !serveUntil(isOpen))
            return false;
        return result.get();
    }

    // A program that writes its first argument down.
    void writeProgram(const std::string& name) const {
        folder.write(name, "#!/bin/sh\nprintf '%s' \"$1\" > " + folder.path("part") + "\nmv " + folder.path("part") +
                               " " + folder.path("opened") + "\n");
        ASSERT_EQ(chmod(folder.path(name).c_str(), 0755), 0);
    }

    // A desktop whose application for the scheme is the program "viewer".
    void makeViewerTheDefault() const {
        folder.write("data/applications/viewer.desktop",
                     "[Desktop Entry]\nType=Application\nName=Viewer\nExec=" + folder.path("viewer") +
                         " %u\nMimeType=x-scheme-handler/sentreltest;\n");
        folder.write("config/mimeapps.list", "[Default Applications]\nx-scheme-handler/sentreltest=viewer.desktop\n");
    }

    // A program that writes down what it inherited, and then waits for a signal.
    void writeListener(const std::string& name) const {
        folder.write(name, "#!/bin/sh\n{ nice; sed -n 's/^Sig[BI].*:.//p' /proc/self/status; echo $$; } > " +
                               folder.path("part") + "\nmv " + folder.path("part") + " " + folder.path("opened") +
                               "\nexec sleep 1000\n");
        ASSERT_EQ(chmod(folder.path(name).c_str(), 0755), 0);
    }

    [[nodiscard]] int openElsewhere(const std::string& text, const std::string& how = "this thread") const {
        const std::string path = "PATH=" + folder.path("bin") + ":/usr/bin:/bin";
        const std::string home = "XDG_DATA_HOME=" + folder.path("data");
        const std::string config = "XDG_CONFIG_HOME=" + folder.path("config");
        const std::string dirs = "XDG_DATA_DIRS=" + folder.path("none");
        const std::string bus = "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder.path("no-bus");
        const std::string what = "SENTREL_TEST_ADDRESS=" + text;
        const std::string opener = "SENTREL_TEST_OPENER=" + how;
        std::vector<const char*> environment{path.c_str(), home.c_str(), config.c_str(), dirs.c_str(),
                                             bus.c_str(),  what.c_str(), opener.c_str()};
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
    makeViewerTheDefault();
    ASSERT_EQ(openElsewhere(address), 0);
    EXPECT_EQ(openedText(), address);
}

TEST_F(OpenAddress, StartsTheDesktopsOpenerWhereNoApplicationIsKnown) {
    folder.makeFolder("bin");
    writeProgram("bin/xdg-open");
    ASSERT_EQ(openElsewhere(address), 0);
    EXPECT_EQ(openedText(), address);
}

// What a link opened blocked every signal, and so survived all that would end it, at the low priority of the thread
// that had started it.
TEST_F(OpenAddress, WhatALinkOpensTakesAllSignalsAndHasTheHostsNiceness) {
    folder.makeFolder("bin");
    const int host = getpriority(PRIO_PROCESS, 0);
    for (const bool knowsApplication : {false, true}) {
        writeListener(knowsApplication ? "viewer" : "bin/xdg-open");
        if (knowsApplication)
            makeViewerTheDefault();
        ASSERT_EQ(openElsewhere(address, "a link in a served loop"), 0);
        std::istringstream inherited(openedText());
        int niceness = -1;
        std::string blocked;
        std::string ignored;
        pid_t program = -1;
        ASSERT_TRUE(inherited >> niceness >> blocked >> ignored >> program);
        EXPECT_EQ(niceness, host);
        EXPECT_EQ(blocked, "0000000000000000");
        // Signals 32 and 33 are the C library's own, which nobody else can change.
        EXPECT_EQ(std::stoull(ignored, nullptr, 16) & ~0x1'8000'0000ULL, 0U) << ignored;
        ASSERT_EQ(kill(program, SIGTERM), 0);
        EXPECT_TRUE(eventually([&] {
            const std::string status = contentOf("/proc/" + std::to_string(program) + "/stat");
            return status.empty() || status.find(") Z") != std::string::npos;
        })) << "it did not end";
        unlink(folder.path("opened").c_str());
    }
}

TEST_F(OpenAddress, ALinkOpensAlsoWhereNobodyServesTheMainQueue) {
    folder.makeFolder("bin");
    writeProgram("bin/xdg-open");
    ASSERT_EQ(openElsewhere(address, "a link in no loop"), 0);
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
