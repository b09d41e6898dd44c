// SPDX-License-Identifier: Apache-2.0
// The example host: shows what this machine does in a window, or, without a display, as figures and a picture.
#include "examples/dashboard/Board.h"
#include "examples/dashboard/Options.h"
#include "examples/dashboard/Report.h"
#include "examples/dashboard/Sampler.h"
#include "examples/dashboard/Window.h"
#include "examples/simulation/Simulation.h"
#include "tools/terminal/TerminalText.h"

#include <SentrelKit/SentrelKit.h>

#include <cstdio>
#include <unistd.h>

namespace {

// Rewrites one line while there is somebody to see it.
void showProgress(double elapsed, double seconds) {
    if (isatty(STDERR_FILENO))
        std::fprintf(stderr, "\rSampling... %.0f of %.0f s", elapsed, seconds);
}

void sample(dashboard::Sampler& sampler, double seconds) {
    std::fprintf(stderr, "Sampling for %.4g s\n", seconds);
    double elapsed = 0;
    sentrel::Timer progress(0.5, [&] { showProgress(elapsed += 0.5, seconds); });
    sampler.start();
    progress.start();
    sentrel::dispatch::runMain(seconds);
    progress.suspend();
    sampler.stop();
    if (isatty(STDERR_FILENO))
        std::fputs("\r\033[K", stderr);
}

bool draw(dashboard::Board& board, const dashboard::Options& options) {
    board.setAppearance(options.isDark ? sentrel::Appearance::dark : sentrel::Appearance::light);
    board.refresh();
    board.setFrame({0, 0, options.width, board.heightFor(options.width)});
    constexpr double settled = 5; // seconds, after which nothing moves any more
    if (sentrel::renderPNG(board, options.picture, options.scale, sentrel::mediaTime() + settled))
        return true;
    std::fprintf(stderr, "dashboard: cannot write %s\n", terminal::plainText(options.picture).c_str());
    return false;
}

int measure(sentrel::System& system, const dashboard::Options& options) {
    auto settings = dashboard::Settings::ofEverything();
    dashboard::Board board(system, settings);
    dashboard::Sampler sampler(system, settings, [&] { board.refresh(); });
    sample(sampler, options.seconds.value_or(dashboard::usualSeconds));
    if (options.mode != dashboard::Mode::snapshot)
        dashboard::printReport(system);
    if (!draw(board, options))
        return 1;
    std::printf("Wrote %s\n", terminal::plainText(options.picture).c_str());
    return 0;
}

int run(sentrel::System& system, const dashboard::Options& options) {
    if (options.mode != dashboard::Mode::choose)
        return measure(system, options);
    if (const auto reason = dashboard::openDisplay()) {
        std::fprintf(stderr, "dashboard: printing the report, no window: %s\n", terminal::plainText(*reason).c_str());
        return measure(system, options);
    }
    std::fputs("dashboard: showing the window, for the display opens (--terminal prints the report)\n", stderr);
    dashboard::Settings settings;
    return dashboard::showWindow(system, settings, options.seconds);
}

} // namespace

int main(int count, char** arguments) {
    const auto options = dashboard::parseOptions(count, arguments);
    if (!options)
        return 2;
    if (options->mode == dashboard::Mode::help) {
        std::fputs(dashboard::usage, stdout);
        return 0;
    }
    if (!options->simulated)
        return run(sentrel::System::shared(), *options);
    simulation::Machine machine(*options->simulated);
    sentrel::System system(machine.platform());
    return run(system, *options);
}
