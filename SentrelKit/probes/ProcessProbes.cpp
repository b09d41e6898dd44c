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
    const std::optional<platform::TaskInfo> info = session.platform().processes().taskInfo(processIdentifier);
    if (!info || (startTime != 0 && info->startTime != startTime))
        return 0;
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
