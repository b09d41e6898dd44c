// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The graphics processors. Any thread. An operation that fails gives no value.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/Availability.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// One graphics processor and what it does now. What its driver does not tell is absent, and so is everything but the
/// names while it is asleep.
struct GraphicsProcessor {
    std::string identifier{};    ///< tells it from every other one; Linux: its PCI address, such as "0000:0a:00.0"
    std::string name{};          ///< as of `GPU::name`; "Unknown" if the platform has none
    std::string driver{};        ///< such as "amdgpu"; empty without one
    bool isAsleep = false;       ///< switched off by the system until somebody needs it
    std::optional<double> use{}; ///< share of the time in which it worked, percent 0 to 100, as the driver tells it
    std::optional<double> idleSeconds{};        ///< a counter: for how long it had nothing to do
    std::optional<std::uint64_t> memoryUsed{};  ///< of its own memory, bytes
    std::optional<std::uint64_t> memoryTotal{}; ///< of its own memory, bytes
    std::optional<double> clock{};              ///< of its cores, hertz
    std::optional<double> temperature{};        ///< degrees Celsius
    std::optional<double> power{};              ///< watts
    std::optional<double> fan{};                ///< revolutions a minute
    std::optional<double> fanShare{};           ///< of its intended full speed, percent; above 100 where it can do more

    /// Whether its driver tells figures of this kind at all and, if not, why; a single one may be absent all the same.
    /// `unsupported`: what the driver tells them by is not installed.
    Availability figures = Availability::available;

    /// Whether everything is the same.
    friend bool operator==(const GraphicsProcessor&, const GraphicsProcessor&) = default;
};

/// For how long one kind of engine of a graphics processor worked for one client so far.
struct GraphicsEngine {
    std::string name{};      ///< as the driver calls the kind, such as "render", "gfx", "video", "copy"
    std::uint64_t busy = 0;  ///< a counter: nanoseconds, or cycles of which `total` passed in all
    std::uint64_t total = 0; ///< a counter; 0: `busy` is in nanoseconds
    std::uint32_t count = 1; ///< how many engines of the kind there are, 1 or more

    /// Whether everything is the same.
    friend bool operator==(const GraphicsEngine&, const GraphicsEngine&) = default;
};

/// A client of a graphics processor: what one program opened to have it work, and passes on as it likes.
struct GraphicsClient {
    std::string processor{};               ///< the processor's identifier; of one not on a PCI bus the driver's name
    std::uint64_t identifier = 0;          ///< tells it from the other clients of the processor
    std::vector<GraphicsEngine> engines{}; ///< in the driver's order, each name once
    std::optional<std::uint64_t> memory{}; ///< bytes that are in place for it; what clients share counts with each

    /// Whether everything is the same.
    friend bool operator==(const GraphicsClient&, const GraphicsClient&) = default;
};

/// The questions about the graphics processors.
class SENTREL_API GraphicsService {
public:
    virtual ~GraphicsService() = default;

    /// The properties of every PCI device, in the system's order: "IOName" (text; "display" for a display controller),
    /// "device-id" (bytes) and, where it is known, "model" (bytes of UTF-8 text).
    [[nodiscard]] virtual std::optional<std::vector<PropertyList::Dictionary>> pciDevices() = 0;

    /// Puts the "device-id" of the device that drives the main display into the caller's bytes. False, the bytes as
    /// they were, on failure, and also when there is no display.
    [[nodiscard]] virtual bool activeDeviceID(PropertyList::Bytes& deviceID) = 0;

    /// Fills the list with every graphics processor and what it does now. The list stays as it was unless the answer is
    /// `available`; `unsupported`: there is none. Takes no memory while they stay the same. No processor is woken.
    /// Needs no privilege. Linux: amdgpu, i915 and xe, NVIDIA's driver by its management library,
    /// which is loaded when such a processor is there and awake, and what other drivers tell by the hwmon class. macOS:
    /// the "PerformanceStatistics" of the accelerators in the device registry.
    [[nodiscard]] virtual Availability processors(std::vector<GraphicsProcessor>& processors) = 0;

    /// Fills the list with the clients of all graphics processors, each once, in no order. The list stays as it was
    /// unless the answer is `available`; `denied`: there are processes whose files may not be seen, and none of the
    /// others is a client; `unsupported`: there is no processor. Takes no memory while clients and engines stay the
    /// same. Linux: what drivers tell in "fdinfo" of the processes in /proc (amdgpu, i915, xe and others; the sum of
    /// "drm-resident-*" or else "drm-memory-*"), without privilege of one's own processes. macOS: unsupported.
    [[nodiscard]] virtual Availability clients(std::vector<GraphicsClient>& clients) = 0;
};

} // namespace sentrel::platform
