// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/platform/linux/common/ClassFolder.h>
#include <SentrelKit/platform/linux/common/NumberFile.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/graphics/NvidiaLibrary.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The clock that a driver's list of states marks as the one in force, in hertz: of "0: 500Mhz" and "1: 1800Mhz *" it
/// is 1.8e9 (pp_dpm_sclk of amdgpu). Absent if none is marked.
[[nodiscard]] std::optional<double> parseClockStates(std::string_view text) noexcept;

/// The display controllers of the PCI bus and what their drivers tell in /sys. They are looked for when other devices
/// are on the bus than before.
///
///  - use: "gpu_busy_percent" of amdgpu. i915 and xe tell for how long the first engine group (gt0, which draws) was in
///    its idle state instead ("rc6_residency_ms", "idle_residency_ms"): of the whole processor, whoever uses it.
///  - memory: "mem_info_vram_used" and "mem_info_vram_total" of amdgpu. A part of a processor has none of its own.
///  - clock: hwmon's "freq1_input" or "pp_dpm_sclk" of amdgpu, "gt_act_freq_mhz" of i915, "act_freq" of xe.
///  - temperature, power, fan: "temp1_input", "power1_average" or "power1_input", "fan1_input" of the device's hwmon
///    folder, whatever its driver.
///
/// NVIDIA's own driver tells nothing of that in /sys: a processor of it that is awake is asked by NvidiaLibrary.h,
/// "libnvidia-ml.so.1" (below another root: that file of its /usr/lib). It is loaded at the first such sample, and anew
/// only when other devices are on the bus. The driver does not put a processor to sleep that is asked every second.
///
/// Of one that sleeps only that is read. One thread at a time.
class GraphicsDevices {
public:
    explicit GraphicsDevices(SystemRoot root);

    /// As GraphicsService::processors says.
    [[nodiscard]] Availability read(std::vector<GraphicsProcessor>& processors);

private:
    struct Device {
        GraphicsProcessor processor;
        KeptFile sleep;
        std::optional<NumberFile> use{};
        std::optional<NumberFile> idle{}; // milliseconds
        std::optional<NumberFile> memoryUsed{};
        std::optional<NumberFile> memoryTotal{};
        std::optional<NumberFile> clock{};
        double clockUnit = 1; // hertz
        std::optional<KeptFile> clockStates{};
        std::optional<NumberFile> temperature{}; // thousandths of a degree
        std::optional<NumberFile> power{};       // millionths of a watt
        std::optional<NumberFile> fan{};
        std::optional<NvidiaLibrary::Device> nvidia{}; // once the library was asked for it
    };

    void find();
    void add(const std::string& address);
    [[nodiscard]] std::optional<NumberFile> file(const std::string& path) const;
    void sample(Device& device);
    void askNvidia(Device& device);

    const SystemRoot root_;
    ClassFolder folder_;
    std::vector<Device> devices_;
    std::optional<NvidiaLibrary> nvidia_;
};

} // namespace sentrel::platform
