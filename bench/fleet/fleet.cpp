// SPDX-License-Identifier: Apache-2.0
// Plays a fleet: so many machines that do not exist, of every kind in turn, each with a registry, an exporter and a
// port of its own on loopback. Their figures move and are sampled as on a machine that is there.
// usage: bench_fleet MACHINES FIRST-PORT      prints a line when all of them answer; ends with its standard input
#include "examples/simulation/Simulation.h"
#include "tools/sentrel/serve/Exporter.h"
#include "tools/sentrel/serve/Server.h"

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/system/System.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

using simulation::Kind;

constexpr std::array kinds = {Kind::laptop, Kind::hot, Kind::fullDisks, Kind::server};

class Member {
public:
    Member(Kind kind, std::uint32_t seed, std::uint16_t port)
        : machine_(kind, sentrel::platform::current(), seed), system_(machine_.platform()), exporter_(system_) {
        tool::Configuration configuration;
        configuration.listen.port = port;
        std::string reason;
        server_ = tool::Server::listen(configuration, reason);
        answers_ = server_ && server_->serve([this] { return exporter_.text(); });
        if (!answers_)
            std::fprintf(stderr, "bench_fleet: %s\n", reason.empty() ? "cannot serve" : reason.c_str());
    }

    [[nodiscard]] bool answers() const { return answers_; }

private:
    simulation::Machine machine_;
    sentrel::System system_;
    tool::Exporter exporter_;
    std::unique_ptr<tool::Server> server_; // the first to go: it asks the exporter
    bool answers_ = false;
};

// Each machine listens, and keeps a connection and what wakes its thread.
void allowDescriptors() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

std::uint32_t number(const char* text) {
    std::uint32_t value = 0;
    std::from_chars(text, text + std::strlen(text), value);
    return value;
}

} // namespace

int main(int count, char** arguments) {
    const std::uint32_t machines = count == 3 ? number(arguments[1]) : 0;
    const std::uint32_t first = count == 3 ? number(arguments[2]) : 0;
    if (machines == 0 || first == 0 || first > 65535 || machines > 65536 - first) {
        std::fprintf(stderr, "usage: bench_fleet MACHINES FIRST-PORT\n");
        return 2;
    }
    allowDescriptors();
    std::vector<std::unique_ptr<Member>> members;
    for (std::uint32_t i = 0; i < machines; ++i) {
        members.push_back(
            std::make_unique<Member>(kinds[i % kinds.size()], i + 1, static_cast<std::uint16_t>(first + i)));
        if (!members.back()->answers())
            return 1;
    }
    std::printf("%u machines\n", machines);
    std::fflush(stdout);
    while (std::getchar() != EOF)
        ;
    return 0;
}
