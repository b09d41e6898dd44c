// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedHostService.h>

#include <cerrno>

namespace sentrel::platform {

std::optional<ProcessorSetLoad> ScriptedHostService::processorSetLoad(ProcessorSet set) noexcept {
    if (calls.fails("processorSetLoad", std::to_string(set.handle)))
        return std::nullopt;
    if (processorSetValue.handle == set.handle)
        return processorSetLoadValue;
    errno = EINVAL;
    return std::nullopt;
}

std::optional<std::size_t> ScriptedHostService::brand(std::span<char> buffer) {
    if (calls.fails("brand", std::to_string(buffer.size())))
        return std::nullopt;
    return brandValue.copy(buffer.data(), buffer.size());
}

} // namespace sentrel::platform
