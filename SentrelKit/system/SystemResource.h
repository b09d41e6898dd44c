// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <iosfwd>

namespace sentrel {

/// The kinds of resources. `sensors` exists and no model reports it.
enum class SystemResourceType : std::uint8_t {
    cpu,     ///< the processor
    gpu,     ///< the graphics processors
    mem,     ///< the memory
    disk,    ///< the volumes
    net,     ///< the network
    sensors, ///< no model
    battery, ///< the battery
    app,     ///< the running applications
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, SystemResourceType value);

/// What the registry and the scheduler know of a model.
class SENTREL_API SystemResource {
public:
    virtual ~SystemResource() = default;

    /// The model's kind, the same for its whole life. Any thread.
    [[nodiscard]] virtual SystemResourceType type() const noexcept = 0;

    /// Takes one sample: reads the probes and updates the model's figures. Called from the background queue, never
    /// twice at a time for one model.
    virtual void update() = 0;
};

} // namespace sentrel
