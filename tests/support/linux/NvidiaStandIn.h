// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/linux/FileTree.h"
#include "tests/support/linux/NvidiaScript.h"

#include <SentrelKit/platform/GraphicsService.h>

#include <memory>
#include <string>

namespace sentrel {

/// A stand-in for the management library of NVIDIA's driver, loaded as long as this lives: who loads the same file in
/// that time gets the same one, with this script. One at a time of each variant.
class NvidiaStandIn {
public:
    /// The variants: "nvidia", "nvidia_old", which lacks clock, power and fan, "nvidia_foreign", which cannot start.
    explicit NvidiaStandIn(const std::string& variant = "nvidia");

    /// The file to load.
    [[nodiscard]] const std::string& file() const noexcept { return file_; }

    /// Puts it where the driver of a captured machine has it.
    void install(const FileTree& machine) const { machine.add("usr/lib/libnvidia-ml.so.1->" + file_); }

    [[nodiscard]] NvidiaScript* operator->() const noexcept { return script_; }

    /// What the variant "nvidia" tells of a processor, by the script as it begins.
    [[nodiscard]] static platform::GraphicsProcessor processorAt(std::string identifier);

private:
    struct Close {
        void operator()(void* library) const noexcept;
    };

    std::string file_;
    std::unique_ptr<void, Close> library_;
    NvidiaScript* script_;
};

} // namespace sentrel
