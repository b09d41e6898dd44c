#include <SentrelKit/SentrelKit.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

using namespace sentrel;

int main() {
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
    return ticks == 3 && ring.percent() == 42 ? 0 : 1;
}
