// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/ProcessProbes.h>

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/ProcessService.h>

namespace sentrel::probes {

namespace {

constexpr std::int32_t firstIdentifier = 2;

} // namespace

int _getApplicationAttributes(std::int32_t processIdentifier, ApplicationAttributes* attributes) noexcept {
    return _getApplicationAttributes(processIdentifier, 0, attributes);
}

int _getApplicationAttributes(std::int32_t processIdentifier, std::uint64_t startTime,
                              ApplicationAttributes* attributes) noexcept {
    if (processIdentifier < firstIdentifier)
        return 0;
    const std::optional<platform::TaskInfo> info = platform::current().processes().taskInfo(processIdentifier);
    if (!info || (startTime != 0 && info->startTime != startTime))
        return 0;
    attributes->cpuTime = static_cast<double>(info->userNanoseconds + info->systemNanoseconds) / 1'000'000;
    attributes->residentSize = info->residentBytes;
    attributes->threads = info->threads;
    return 1;
}

std::int32_t _getParentPid(std::int32_t processIdentifier) noexcept {
    if (processIdentifier < firstIdentifier)
        return -1;
    return platform::current().processes().parent(processIdentifier).value_or(-1);
}

} // namespace sentrel::probes
