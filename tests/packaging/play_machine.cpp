// SPDX-License-Identifier: Apache-2.0
// Plays a machine that does not exist, and answers engines as the exporter does: one that is well, or one whose disk
// fills, whose drive fails and whose battery is worn out.
// usage: play_machine well|ill      prints where the answers are, and ends with its standard input
#include "examples/simulation/Plan.h"
#include "examples/simulation/Simulation.h"
#include "tools/sentrel/serve/Exporter.h"
#include "tools/sentrel/serve/Server.h"

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/system/System.h>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace {

simulation::Plan planOf(const std::string& state) {
    simulation::Plan plan = simulation::planOf(simulation::Kind::laptop);
    if (state != "ill")
        return plan;
    // Full in 20 seconds.
    plan.disks[0].filled = 0.02;
    plan.disks[0].isFailing = true;
    plan.battery->maxCapacity = 0.4 * plan.battery->designCapacity;
    return plan;
}

} // namespace

int main(int count, char** arguments) {
    const std::string state = count == 2 ? arguments[1] : "";
    if (state != "well" && state != "ill")
        return 2;
    simulation::Machine machine(planOf(state));
    sentrel::System system(machine.platform());
    tool::Exporter exporter(system);
    tool::Configuration configuration;
    configuration.listen.port = 0;
    std::string reason;
    const std::unique_ptr<tool::Server> server = tool::Server::listen(configuration, reason);
    if (!server || !server->serve([&exporter] { return exporter.text(); })) {
        std::fprintf(stderr, "play_machine: %s\n", reason.c_str());
        return 1;
    }
    std::puts(server->address().c_str());
    std::fflush(stdout);
    while (std::getchar() != EOF)
        ;
    return 0;
}
