// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/NetworkNamespace.h"

#include "tests/support/Eventually.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace sentrel {

namespace {

int openCurrent() {
    const int descriptor = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        throw std::runtime_error("no network namespaces");
    return descriptor;
}

void enter(int descriptor) {
    if (::setns(descriptor, CLONE_NEWNET) != 0)
        throw std::runtime_error("cannot enter a network namespace");
}

} // namespace

bool NetworkNamespace::available() {
    if (::geteuid() != 0 || std::system("ip -V >/dev/null 2>&1") != 0)
        return false;
    try {
        const NetworkNamespace space;
        space.ip("link add sentrel0 type veth peer name sentrel1");
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

NetworkNamespace::NetworkNamespace() {
    const int before = openCurrent();
    const bool made = ::unshare(CLONE_NEWNET) == 0;
    if (made) {
        descriptor_ = openCurrent();
        enter(before);
    }
    ::close(before);
    if (!made)
        throw std::runtime_error("cannot make a network namespace");
    ip("link set lo up");
}

NetworkNamespace::~NetworkNamespace() {
    ::close(descriptor_);
}

std::string NetworkNamespace::path() const {
    return "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(descriptor_);
}

NetworkNamespace::Scope::Scope(const NetworkNamespace& space) : before_(openCurrent()) {
    enter(space.descriptor_);
}

NetworkNamespace::Scope::~Scope() {
    ::setns(before_, CLONE_NEWNET);
    ::close(before_);
}

void NetworkNamespace::ip(const std::string& arguments) const {
    ipBatch(arguments + "\n");
}

void NetworkNamespace::ipBatch(const std::string& commands) const {
    const Scope scope(*this);
    std::FILE* batch = ::popen("ip -batch -", "we");
    if (!batch)
        throw std::runtime_error("cannot run ip");
    std::fputs(commands.c_str(), batch);
    if (::pclose(batch) != 0)
        throw std::runtime_error("ip failed: " + commands.substr(0, 200));
}

void NetworkNamespace::connect(const std::string& name, const std::string& address, const NetworkNamespace& other,
                               const std::string& peer, const std::string& peerAddress) const {
    ip("link add " + name + " type veth peer name " + peer + " netns " + other.path());
    ip("addr add " + address + "/24 dev " + name);
    ip("link set " + name + " up");
    other.ip("addr add " + peerAddress + "/24 dev " + peer);
    other.ip("link set " + peer + " up");
    // A link that is up drops what is sent until the kernel comes round to activate it, and counts none of it.
    if (!eventually([&] { return carries(name) && other.carries(peer); }))
        throw std::runtime_error("the link does not carry");
}

bool NetworkNamespace::carries(const std::string& name) const {
    const Scope scope(*this);
    return std::system(("ip -o link show dev " + name + " | grep -q 'state UP'").c_str()) == 0;
}

} // namespace sentrel
