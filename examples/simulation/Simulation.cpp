// SPDX-License-Identifier: Apache-2.0
#include "examples/simulation/Simulation.h"

#include "examples/simulation/Plan.h"
#include "examples/simulation/Services.h"

#include <SentrelKit/platform/scripted/CompositePlatform.h>

namespace simulation {

using namespace sentrel::platform;

std::optional<Kind> kindNamed(std::string_view name) {
    constexpr struct {
        std::string_view name;
        Kind kind;
    } kinds[] = {
        {"laptop", Kind::laptop}, {"hot", Kind::hot}, {"full-disks", Kind::fullDisks}, {"server", Kind::server}};
    for (const auto& each : kinds) {
        if (each.name == name)
            return each.kind;
    }
    return std::nullopt;
}

struct Machine::Parts {
    Parts(const Plan& plan, Platform& process, std::uint32_t seed)
        : world(std::make_shared<World>(plan, process, seed)), host(*world, process.dispatch()),
          power(*world, process.dispatch()), platform(process, {.host = &host,
                                                                .graphics = &world->values().graphics(),
                                                                .volumes = &volumes,
                                                                .network = &network,
                                                                .power = &power,
                                                                .processes = &world->values().processes(),
                                                                .sensors = &sensors}) {}

    const std::shared_ptr<World> world;
    Host host;
    Volumes volumes{world};
    Network network{*world};
    Power power;
    Sensors sensors{*world};
    CompositePlatform platform;
};

Machine::Machine(Kind kind, Platform& process, std::uint32_t seed) : Machine(planOf(kind), process, seed) {}

Machine::Machine(const Plan& plan, Platform& process, std::uint32_t seed)
    : parts_(std::make_unique<Parts>(plan, process, seed)) {}

Machine::~Machine() = default;

Platform& Machine::platform() noexcept {
    return parts_->platform;
}

} // namespace simulation
