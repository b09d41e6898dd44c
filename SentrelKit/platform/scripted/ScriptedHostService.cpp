// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedHostService.h>

namespace sentrel::platform {

std::optional<ProcessorSetLoad> ScriptedHostService::processorSetLoad(ProcessorSet set) noexcept {
    if (!processorSetValue || processorSetValue->handle != set.handle) {
        errno = EINVAL;
        return std::nullopt;
    }
    return answer(processorSetLoadValue);
}

std::optional<std::size_t> ScriptedHostService::brand(std::span<char> buffer) {
    ++brandAsked;
    if (!brandValue) {
        errno = failure;
        return std::nullopt;
    }
    return brandValue->copy(buffer.data(), buffer.size());
}

} // namespace sentrel::platform
