// SPDX-License-Identifier: Apache-2.0
// The example host: measures this machine for a few seconds, prints the figures and draws them.
#include "examples/dashboard/Card.h"
#include "examples/dashboard/Options.h"
#include "examples/dashboard/Report.h"
#include "examples/dashboard/TerminalText.h"

#include <SentrelKit/SentrelKit.h>

#include <array>
#include <cstdio>
#include <unistd.h>

namespace {

// The tasks take their first samples one interval after the start: a round before gives a short run all figures, and
// the rates their beginning.
void takeFirstSamples(sentrel::System& system) {
    const std::array<sentrel::SystemResource*, 6> resources = {&system.cpu(),  &system.mem(), &system.net(),
                                                               &system.disk(), &system.gpu(), &system.apps()};
    for (sentrel::SystemResource* resource : resources)
        resource->update();
}

// Rewrites one line while there is somebody to see it.
void showProgress(double elapsed, double seconds) {
    if (isatty(STDERR_FILENO))
        std::fprintf(stderr, "\rSampling... %.0f of %.0f s", elapsed, seconds);
}

} // namespace

int main(int count, char** arguments) {
    const auto options = dashboard::parseOptions(count, arguments);
    if (!options)
        return 2;
    if (options->help) {
        std::fputs(dashboard::usage, stdout);
        return 0;
    }

    sentrel::System& system = sentrel::System::shared();
    takeFirstSamples(system);
    system.start();
    system.start(system.disk());
    system.start(system.apps());
    system.start(system.gpu());

    std::fprintf(stderr, "Sampling for %.4g s\n", options->seconds);
    double elapsed = 0;
    sentrel::Timer progress(0.5, [&] { showProgress(elapsed += 0.5, options->seconds); });
    progress.start();
    sentrel::dispatch::runMain(options->seconds);
    progress.suspend();
    if (isatty(STDERR_FILENO))
        std::fputs("\r\033[K", stderr);
    system.stop();

    dashboard::printReport(system);
    dashboard::Card card(system);
    card.refresh();
    if (!sentrel::renderPNG(card, options->output, 2)) {
        std::fprintf(stderr, "dashboard: cannot write %s\n", dashboard::terminalText(options->output).c_str());
        return 1;
    }
    std::printf("Wrote %s\n", dashboard::terminalText(options->output).c_str());
    return 0;
}
