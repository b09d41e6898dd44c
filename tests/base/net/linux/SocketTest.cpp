// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/net/Socket.h>

#include "tests/support/Loopback.h"
#include "tests/support/TemporaryFolder.h"
#include <SentrelKit/base/system/Net.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sentrel {
namespace {

// Names with several addresses, in a child process that has a host table and a loopback network of its own.

constexpr int cannotIsolate = 77;

bool isolate(const TemporaryFolder& folder) {
    if (unshare(CLONE_NEWNS | CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWNET) != 0)
        return false;
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return false;
    for (const std::string name : {"hosts", "nsswitch.conf"})
        if (mount(folder.path(name).c_str(), ("/etc/" + name).c_str(), nullptr, MS_BIND, nullptr) != 0)
            return false;
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP | IFF_RUNNING;
    const Descriptor control(socket(AF_INET, SOCK_DGRAM, 0));
    return ioctl(control.get(), SIOCSIFFLAGS, &loopback) == 0;
}

// Runs the checks, which say by their number which one failed, with the given host table. 0 when all hold.
int withHosts(const std::string& hosts, const std::function<int()>& checks) {
    const TemporaryFolder folder;
    folder.write("hosts", hosts);
    folder.write("nsswitch.conf", "hosts: files\n");
    const pid_t child = fork();
    if (child == 0)
        _exit(isolate(folder) ? checks() : cannotIsolate);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#define EXPECT_ALL_HOLD(result)                                                                                        \
    do {                                                                                                               \
        const int failed = result;                                                                                     \
        if (failed == cannotIsolate)                                                                                   \
            GTEST_SKIP() << "needs the right to make namespaces";                                                      \
        EXPECT_EQ(failed, 0);                                                                                          \
    } while (false)

bool connects(const char* name, int port) {
    Socket* socket = Socket_new(name, port);
    if (!socket)
        return false;
    Socket_free(&socket);
    return true;
}

TEST(SocketHosts, TheSecondAddressIsTriedWhenTheFirstRefuses) {
    EXPECT_ALL_HOLD(withHosts("127.0.0.2 twin\n127.0.0.3 twin\n127.0.0.3 mirrored\n127.0.0.2 mirrored\n", [] {
        // Whichever of the two the resolver puts first, one of the two listeners makes it refuse.
        for (const char* address : {"127.0.0.2", "127.0.0.3"}) {
            const Listener listener(address);
            const std::size_t before = openDescriptors();
            if (!connects("twin", listener.port()))
                return 1;
            if (!connects("mirrored", listener.port()))
                return 2;
            if (openDescriptors() != before)
                return 3;
        }
        return 0;
    }));
}

TEST(SocketHosts, IPv6RefusesAndIPv4Answers) {
    EXPECT_ALL_HOLD(withHosts("::1 both\n127.0.0.1 both\n", [] {
        const Listener v4("127.0.0.1");
        if (!connects("both", v4.port()))
            return 1;
        const Listener v6("::1");
        if (!connects("both", v6.port()))
            return 2;
        if (!connects("::1", v6.port()))
            return 3;
        if (connects("::1", v4.port()) || errno != ECONNREFUSED)
            return 4;
        return 0;
    }));
}

TEST(SocketHosts, AllAddressesRefusing) {
    EXPECT_ALL_HOLD(withHosts("127.0.0.2 twin\n127.0.0.3 twin\n", [] {
        Listener listener("127.0.0.2");
        const int port = listener.port();
        listener.close();
        const std::size_t before = openDescriptors();
        if (connects("twin", port) || errno != ECONNREFUSED)
            return 1;
        return openDescriptors() == before ? 0 : 2;
    }));
}

TEST(SocketHosts, TheNextAddressIsTriedAfterTwoSilentSeconds) {
    EXPECT_ALL_HOLD(withHosts("127.0.0.2 twin\n127.0.0.3 twin\n", [] {
        const Listener silent("127.0.0.2", 0);
        Socket* filler = Socket_new("127.0.0.2", silent.port());
        const Stopwatch watch;
        // No listener at the other address: both fail, and the last failure is the one reported.
        if (!filler || connects("twin", silent.port()))
            return 1;
        if (errno != ECONNREFUSED && errno != ETIMEDOUT)
            return 2;
        if (watch.milliseconds() < 2000 || watch.milliseconds() > 4000)
            return 3;
        Socket_free(&filler);
        return 0;
    }));
}

TEST(SocketHosts, ResolvingIsRestrictedToIPv4) {
    EXPECT_ALL_HOLD(withHosts("127.0.0.2 four\n::2 six\n", [] {
        if (!Net_resolve("four"))
            return 1;
        if (Net_resolve("six"))
            return 2;
        if (Net_resolve("absent"))
            return 3;
        if (connects("absent", 80) || errno != EHOSTUNREACH)
            return 4;
        return 0;
    }));
}

} // namespace
} // namespace sentrel
