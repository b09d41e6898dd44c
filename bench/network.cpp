// SPDX-License-Identifier: Apache-2.0
// links: libgtop-2.0 libmnl

/// One sample of the interfaces, beside the raw netlink floor (the statistics listing alone), beside the kernel's table
/// read by hand, and beside libgtop. Each with so many interfaces of veth pairs in a network namespace of its own;
/// needs root and "ip".

#include "bench/support/ThreadSeconds.h"
#include "tests/support/Allocations.h"

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/linux/LinuxPlatform.h>
#include <SentrelKit/probes/NetworkProbes.h>
#include <SentrelKit/system/Network.h>

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <glibtop.h>
#include <glibtop/netlist.h>
#include <glibtop/netload.h>
#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <map>
#include <memory>
#include <sched.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// Puts the thread into a namespace with so many active interfaces; made once for each count.
bool enterNamespace(std::int64_t interfaces) {
    static std::map<std::int64_t, int> spaces;
    if (const auto known = spaces.find(interfaces); known != spaces.end())
        return ::setns(known->second, CLONE_NEWNET) == 0;
    if (::unshare(CLONE_NEWNET) != 0)
        return false;
    std::FILE* batch = ::popen("ip -batch -", "we");
    for (std::int64_t pair = 0; batch && pair < interfaces / 2; ++pair) {
        const std::string number = std::to_string(pair);
        const std::string place = std::to_string(pair / 250) + "." + std::to_string(pair % 250) + "/32";
        std::string commands = "link add a" + number + " type veth peer name b" + number + "\n";
        for (const std::string& end : {"a" + number, "b" + number})
            commands += "link set " + end + " addrgenmode none\naddr add 10." + (end[0] == 'a' ? "1." : "2.") + place +
                        " dev " + end + "\nlink set " + end + " up\n";
        std::fputs(commands.c_str(), batch);
    }
    if (!batch || ::pclose(batch) != 0)
        return false;
    spaces[interfaces] = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    return true;
}

/// A machine whose sockets stand in that namespace, in force for the benchmark.
struct Machine {
    sentrel::platform::LinuxPlatform& platform = *new sentrel::platform::LinuxPlatform;
    sentrel::platform::Override override{platform};
};

std::size_t countInterfaces() {
    std::size_t count = 0;
    sentrel::probes::_getNetworkData(
        [&count](std::int64_t, const char*, const sentrel::probes::NetworkData*) { ++count; });
    return count;
}

/// Waits until the carrier of every interface was told.
bool settle(benchmark::State& state) {
    for (int attempt = 0; attempt < 5000; ++attempt) {
        if (countInterfaces() == static_cast<std::size_t>(state.range(0)))
            return true;
        ::usleep(1000);
    }
    state.SkipWithError("the interfaces do not come up");
    return false;
}

void sampleModel(benchmark::State& state, sentrel::MeasureSet<sentrel::Network::Measure> measures) {
    if (!enterNamespace(state.range(0)))
        return state.SkipWithError("needs root and ip");
    const Machine machine;
    if (!settle(state))
        return;
    sentrel::Network network;
    network.setMeasures(measures);
    network.update();
    network.update();
    // Every 32nd sample hands a check to the background queue, 35 s apart in a program; without a pause the checks
    // would run beside every measured sample. So each round makes the sample with the check, lets it end, and measures
    // the 31 that follow.
    constexpr int samples = 31;
    std::size_t allocated = 0;
    for (auto _ : state) {
        network.update();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const std::size_t before = sentrel::allocations();
        const double start = threadSeconds();
        for (int sample = 0; sample < samples; ++sample)
            network.update();
        const double elapsed = threadSeconds() - start;
        allocated += sentrel::allocations() - before;
        state.SetIterationTime(elapsed / samples);
    }
    state.counters["new"] =
        benchmark::Counter(static_cast<double>(allocated) / samples, benchmark::Counter::kAvgIterations);
}

void modelSample(benchmark::State& state) {
    sampleModel(state, {});
}

/// The same with every group of further facts.
void modelSampleWithAll(benchmark::State& state) {
    using Measure = sentrel::Network::Measure;
    sampleModel(state, {Measure::traffic, Measure::links, Measure::wireless});
}

void probeListing(benchmark::State& state) {
    if (!enterNamespace(state.range(0)))
        return state.SkipWithError("needs root and ip");
    const Machine machine;
    if (!settle(state))
        return;
    for (auto _ : state)
        benchmark::DoNotOptimize(countInterfaces());
}

/// The floor: the listing is asked for and the bytes of each interface read, nothing else, but for `before`.
template <class Before>
void listStatistics(benchmark::State& state, Before before) {
    if (!enterNamespace(state.range(0)))
        return state.SkipWithError("needs root and ip");
    mnl_socket* socket = mnl_socket_open(NETLINK_ROUTE);
    mnl_socket_bind(socket, 0, MNL_SOCKET_AUTOPID);
    std::vector<char> buffer(32768);
    std::array<char, 256> request{};
    nlmsghdr* header = mnl_nlmsg_put_header(request.data());
    header->nlmsg_type = RTM_GETSTATS;
    header->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    static_cast<if_stats_msg*>(mnl_nlmsg_put_extra_header(header, sizeof(if_stats_msg)))->filter_mask =
        IFLA_STATS_FILTER_BIT(IFLA_STATS_LINK_64);
    for (auto _ : state) {
        before();
        mnl_socket_sendto(socket, header, header->nlmsg_len);
        std::uint64_t sum = 0;
        int more = MNL_CB_OK;
        while (more > MNL_CB_STOP) {
            const ssize_t size = mnl_socket_recvfrom(socket, buffer.data(), buffer.size());
            more = mnl_cb_run(
                buffer.data(), static_cast<std::size_t>(size), 0, 0,
                [](const nlmsghdr* message, void* data) {
                    const auto* attribute =
                        static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(message, sizeof(if_stats_msg)));
                    rtnl_link_stats64 stats{};
                    std::memcpy(&stats, mnl_attr_get_payload(attribute), sizeof stats);
                    *static_cast<std::uint64_t*>(data) += stats.rx_bytes + stats.tx_bytes;
                    return MNL_CB_OK;
                },
                &sum);
        }
        benchmark::DoNotOptimize(sum);
    }
    mnl_socket_close(socket);
}

void statisticsListing(benchmark::State& state) {
    listStatistics(state, [] {});
}

/// The floor of a sample with everything: packets come with the bytes; addresses, links and radios come and go with
/// notices, for which a program has to look.
void listingAndNotices(benchmark::State& state) {
    if (!enterNamespace(state.range(0)))
        return state.SkipWithError("needs root and ip");
    mnl_socket* notices = mnl_socket_open2(NETLINK_ROUTE, SOCK_NONBLOCK);
    mnl_socket_bind(notices, RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR, MNL_SOCKET_AUTOPID);
    std::array<char, 4096> buffer;
    listStatistics(state,
                   [&] { benchmark::DoNotOptimize(mnl_socket_recvfrom(notices, buffer.data(), buffer.size())); });
    mnl_socket_close(notices);
}

/// The kernel's text table, kept open and read from its start; counters only.
void procNetDev(benchmark::State& state) {
    if (!enterNamespace(state.range(0)))
        return state.SkipWithError("needs root and ip");
    const int table = ::open("/proc/thread-self/net/dev", O_RDONLY | O_CLOEXEC);
    std::vector<char> buffer(1 << 20);
    for (auto _ : state) {
        std::size_t length = 0;
        for (ssize_t count = 1; count > 0; length += static_cast<std::size_t>(count))
            count = std::max<ssize_t>(
                ::pread(table, buffer.data() + length, buffer.size() - 1 - length, static_cast<off_t>(length)), 0);
        buffer[length] = '\0';
        unsigned long long sum = 0;
        for (const char* line = buffer.data(); line && *line;) {
            unsigned long long in = 0;
            unsigned long long out = 0;
            if (const char* colon = std::strchr(line, ':');
                colon && std::sscanf(colon + 1, "%llu %*u %*u %*u %*u %*u %*u %*u %llu", &in, &out) == 2)
                sum += in + out;
            line = std::strchr(line, '\n');
            line = line ? line + 1 : nullptr;
        }
        benchmark::DoNotOptimize(sum);
    }
    ::close(table);
}

/// libgtop: its list of names, then the load of each interface.
void libgtop(benchmark::State& state) {
    if (!enterNamespace(state.range(0)))
        return state.SkipWithError("needs root and ip");
    for (auto _ : state) {
        glibtop_netlist list;
        char** names = glibtop_get_netlist(&list);
        guint64 sum = 0;
        for (guint i = 0; i < list.number; ++i) {
            glibtop_netload load;
            glibtop_get_netload(&load, names[i]);
            sum += load.bytes_in + load.bytes_out;
        }
        g_strfreev(names);
        benchmark::DoNotOptimize(sum);
    }
}

} // namespace

BENCHMARK(statisticsListing)->Arg(2)->Arg(50)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(modelSample)->Arg(2)->Arg(50)->Arg(1000)->Iterations(300)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(listingAndNotices)->Arg(2)->Arg(50)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(modelSampleWithAll)
    ->Arg(2)
    ->Arg(50)
    ->Arg(1000)
    ->Iterations(300)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(probeListing)->Arg(2)->Arg(50)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(procNetDev)->Arg(2)->Arg(50)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(libgtop)->Arg(2)->Arg(50)->Unit(benchmark::kMicrosecond);
BENCHMARK(libgtop)->Arg(1000)->Iterations(1)->Unit(benchmark::kMicrosecond); // the square of the interfaces: a minute
