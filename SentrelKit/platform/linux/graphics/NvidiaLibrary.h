// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/GraphicsService.h>

#include <memory>
#include <string>

namespace sentrel::platform {

/// The management library of NVIDIA's driver, which comes with that driver: nothing of it is in /sys. It is loaded and
/// started once, when the object is made, by its public C interface; a function that an older one lacks leaves its
/// figure absent. One thread at a time.
///
/// Its functions ask the driver and wait for it: a processor that does not answer holds up the thread that samples it,
/// and with it the further samples of the graphics; no reader waits.
class NvidiaLibrary {
public:
    /// One processor, as the library tells it from others.
    struct Device {
        void* handle = nullptr;
        Availability answer = Availability::failed; ///< why there is no handle
    };

    /// Loads the library of that file name or path.
    explicit NvidiaLibrary(const std::string& file);
    /// Stops it and gives it back.
    ~NvidiaLibrary();
    NvidiaLibrary(const NvidiaLibrary&) = delete;
    NvidiaLibrary& operator=(const NvidiaLibrary&) = delete;

    /// The processor at that PCI address. `unsupported`: there is no library; `denied` and `failed` are the library's
    /// own word, from its start on.
    [[nodiscard]] Device find(const std::string& address) noexcept;

    /// Fills in what the library tells of a processor: use, memory, clock, temperature, power, fan; and the name if it
    /// is "Unknown". The rest stays as it was. `available` with one figure or more.
    [[nodiscard]] Availability read(const Device& device, GraphicsProcessor& processor) const noexcept;

private:
    struct Functions;

    const std::unique_ptr<Functions> functions_;
};

} // namespace sentrel::platform
