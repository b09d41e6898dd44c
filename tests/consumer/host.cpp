// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/Version.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/system/Timer.h>
#include <SentrelKit/views/GaugeCircleChart.h>

#include <string>

using namespace sentrel;

// The header's version, in its three forms, is the package's, where there is one.
#ifdef PACKAGE_VERSION
static_assert(version == PACKAGE_VERSION);
#endif
static_assert(SENTREL_VERSION == SENTREL_VERSION_MAJOR * 10000 + SENTREL_VERSION_MINOR * 100 + SENTREL_VERSION_PATCH);

int main() {
    if (std::string(version) != std::to_string(SENTREL_VERSION_MAJOR) + "." + std::to_string(SENTREL_VERSION_MINOR) +
                                    "." + std::to_string(SENTREL_VERSION_PATCH))
        return 2;

    platform::ScriptedPlatform machine;
    const platform::Override override(machine);
    int ticks = 0;
    GaugeCircleChart ring({0, 0, 96, 96});
    Timer redraw(1.0, false, [&] {
        ring.setPercent(42);
        ++ticks;
    });
    redraw.start();
    machine.advance(3);
    // Its type is known on both sides of the library's border.
    View& view = ring;
    return ticks == 3 && ring.percent() == 42 && dynamic_cast<CircleChart*>(&view) ? 0 : 1;
}
