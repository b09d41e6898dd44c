// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/NvidiaStandIn.h"

#include <dlfcn.h>
#include <stdexcept>

namespace sentrel {

void NvidiaStandIn::Close::operator()(void* library) const noexcept {
    ::dlclose(library);
}

NvidiaStandIn::NvidiaStandIn(const std::string& variant)
    : file_(std::string(SENTREL_MODULES) + "/" + variant + ".so"), library_(::dlopen(file_.c_str(), RTLD_NOW)) {
    if (!library_)
        throw std::runtime_error(std::string("cannot load: ") + ::dlerror());
    script_ = static_cast<NvidiaScript*>(::dlsym(library_.get(), "sentrelNvidiaScript"));
    if (!script_)
        throw std::runtime_error("no script in " + file_);
    *script_ = NvidiaScript();
}

platform::GraphicsProcessor NvidiaStandIn::processorAt(std::string identifier) {
    return {.identifier = std::move(identifier),
            .name = "Example 4000",
            .use = 37,
            .memoryUsed = 3ULL << 30,
            .memoryTotal = 8ULL << 30,
            .clock = 1785e6,
            .temperature = 61,
            .power = 85.25,
            .fan = 1530,
            .fanShare = 42};
}

} // namespace sentrel
