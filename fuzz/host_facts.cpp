// SPDX-License-Identifier: Apache-2.0
// What the host reads from outside beyond its first figures; the first byte chooses the parser.

#include <SentrelKit/platform/linux/host/ControlGroups.h>
#include <SentrelKit/platform/linux/host/CpuFrequencies.h>
#include <SentrelKit/platform/linux/host/LoginRecords.h>
#include <SentrelKit/platform/linux/host/MemInfo.h>
#include <SentrelKit/platform/linux/host/OsRelease.h>
#include <SentrelKit/platform/linux/host/ProcStat.h>
#include <SentrelKit/platform/linux/host/VirtualMachine.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace sentrel;
using namespace sentrel::platform;

namespace {

void require(bool holds) {
    if (!holds)
        std::abort();
}

void processors(std::string_view text) {
    ProcessorLoad load;
    load.forks = 77;
    if (!parseProcessorLoad(text, load))
        require(load.forks == 77U && load.each.empty());
    for (std::size_t i = 1; i < load.each.size(); ++i)
        require(load.each[i - 1].number < load.each[i].number);
}

void memory(std::string_view text) {
    static_cast<void>(parseMemoryDetails(text));
    static_cast<void>(parseSwapCounters(text, 4096));
    static_cast<void>(parseZswap(text));
    static_cast<void>(parseZram(text));
    static_cast<void>(parseMemoryNode(text));
}

void groups(std::string_view text) {
    for (const char* controller : {"", "cpu", "memory"}) {
        const auto path = controlGroupPath(text, controller);
        const auto mount = controlGroupMount(text, controller);
        require(!path || path->starts_with('/'));
        if (!path || !mount)
            continue;
        const auto folders = controlGroupFolders(*mount, *path);
        require(!folders.empty() && folders.back() == mount->point);
        for (const std::string& folder : folders)
            require(folder.starts_with(mount->point));
    }
    const auto quota = parseProcessorQuota(text);
    require(!quota || *quota > 0);
}

void system(std::string_view text) {
    OperatingSystem system;
    parseOsRelease(text, system);
    require(system.name.size() <= text.size() + 5);
    static_cast<void>(machineOfSignature(text));
    static_cast<void>(machineOfFirmware(text));
    require(!containerOfManager(text).empty());
    for (const LoggedInUser& user : parseLoginRecords(text))
        require(!user.name.empty());
    const auto frequency = parseFrequency(text);
    require(!frequency || *frequency > 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    constexpr void (*parsers[])(std::string_view) = {&processors, &memory, &groups, &system};
    parsers[data[0] % 4]({reinterpret_cast<const char*>(data) + 1, size - 1});
    return 0;
}
