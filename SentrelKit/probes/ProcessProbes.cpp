// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/ProcessProbes.h>

#include <SentrelKit/platform/ProcessService.h>

namespace sentrel::probes {

namespace {

constexpr std::int32_t firstIdentifier = 2;

} // namespace

int _getApplicationAttributes(std::int32_t processIdentifier, ApplicationAttributes* attributes,
                              SystemManager& session) noexcept {
    return _getApplicationAttributes(processIdentifier, 0, attributes, session);
}

int _getApplicationAttributes(std::int32_t processIdentifier, std::uint64_t startTime,
                              ApplicationAttributes* attributes, SystemManager& session) noexcept {
    if (processIdentifier < firstIdentifier)
        return 0;
    platform::ProcessService& processes = session.platform().processes();
    const std::optional<platform::TaskInfo> info = processes.taskInfo(processIdentifier);
    if (!info)
        return 0;
    if (startTime != 0) {
        // Asked for after the figures: an id that was used again in between is found out.
        const std::uint64_t started =
            info->startTime != 0 ? info->startTime : processes.startTime(processIdentifier).value_or(0);
        if (started != startTime)
            return 0;
    }
    attributes->cpuTime = static_cast<double>(info->userNanoseconds + info->systemNanoseconds) / 1'000'000;
    attributes->residentSize = info->residentBytes;
    attributes->threads = info->threads;
    return 1;
}

std::int32_t _getParentPid(std::int32_t processIdentifier, SystemManager& session) noexcept {
    if (processIdentifier < firstIdentifier)
        return -1;
    return session.platform().processes().parent(processIdentifier).value_or(-1);
}

} // namespace sentrel::probes
