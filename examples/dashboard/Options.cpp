// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Options.h"

#include "examples/dashboard/Board.h"
#include "tools/terminal/TerminalText.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace dashboard {

namespace {

struct Range {
    double least; ///< with `isOpen` the number itself does not count
    double most;
    bool isOpen;
};

std::optional<double> parseNumber(const std::string& option, const char* text, Range range) {
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    const bool isNumber = end != text && *end == '\0' && std::isfinite(number);
    if (isNumber && number <= range.most && (range.isOpen ? number > range.least : number >= range.least))
        return number;
    std::fprintf(stderr, "dashboard: %s takes a number %s %g%s %g, not '%s'\n", option.c_str(),
                 range.isOpen ? "above" : "from", range.least, range.isOpen ? " and up to" : " to", range.most,
                 terminal::plainText(text).c_str());
    return std::nullopt;
}

// Sets the option of a name that takes a value; false, after a line, for a value that is wrong.
bool setValue(Options& options, const std::string& name, const char* value) {
    const auto number = [&](double& target, Range range) {
        const auto parsed = parseNumber(name, value, range);
        target = parsed.value_or(target);
        return parsed.has_value();
    };
    if (name == "--seconds") {
        double seconds = 0;
        if (!number(seconds, {0, 86400, true}))
            return false;
        options.seconds = seconds;
        return true;
    }
    if (name == "--simulate") {
        options.simulated = simulation::kindNamed(value);
        if (!options.simulated)
            std::fprintf(stderr, "dashboard: --simulate takes laptop, hot, full-disks or server, not '%s'\n",
                         terminal::plainText(value).c_str());
        return options.simulated.has_value();
    }
    if (name == "--width")
        return number(options.width, {Board::narrowest, 7680, false});
    if (name == "--scale")
        return number(options.scale, {0.5, 4, false});
    options.picture = value;
    const Mode mode = name == "--snapshot" ? Mode::snapshot : Mode::report;
    if (options.mode != Mode::choose && options.mode != mode) {
        std::fprintf(stderr, "dashboard: --snapshot goes with neither --terminal nor --output (try --help)\n");
        return false;
    }
    options.mode = mode;
    return true;
}

} // namespace

const char* const usage =
    "usage: sentrelkit-dashboard [options]\n"
    "\n"
    "Shows what this machine does: in a window where there is a display, else as figures on the terminal and a\n"
    "picture. The window samples while it is seen.\n"
    "\n"
    "  --seconds N      close the window after N seconds; without a window, sample for N seconds (default 4); at most\n"
    "                   86400\n"
    "  --terminal       print the figures and write the picture, also where there is a display\n"
    "  --output FILE    the same with the picture, a PNG, in FILE (default dashboard.png)\n"
    "  --snapshot FILE  only write the picture to FILE\n"
    "  --width N        the picture's width in points, 360 to 7680 (default 1000)\n"
    "  --scale N        its pixels a point, 0.5 to 4 (default 2)\n"
    "  --dark           the picture in its dark look; the window follows the theme\n"
    "  --simulate KIND  show a machine that does not exist and moves: laptop, hot, full-disks or server\n"
    "  --help           print this text\n";

std::optional<Options> parseOptions(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            options.mode = Mode::help;
            return options;
        }
        if (argument == "--dark") {
            options.isDark = true;
            continue;
        }
        if (argument == "--terminal") {
            if (options.mode == Mode::snapshot) {
                std::fprintf(stderr, "dashboard: --snapshot goes with neither --terminal nor --output (try --help)\n");
                return std::nullopt;
            }
            options.mode = Mode::report;
            continue;
        }
        if (argument != "--simulate" && argument != "--seconds" && argument != "--output" && argument != "--snapshot" &&
            argument != "--width" && argument != "--scale") {
            std::fprintf(stderr, "dashboard: unknown argument '%s' (try --help)\n",
                         terminal::plainText(argument).c_str());
            return std::nullopt;
        }
        const char* const value = i + 1 < count ? arguments[++i] : nullptr;
        if (!value || *value == '\0') {
            std::fprintf(stderr, "dashboard: %s needs a value (try --help)\n", std::string(argument).c_str());
            return std::nullopt;
        }
        if (!setValue(options, std::string(argument), value))
            return std::nullopt;
    }
    return options;
}

} // namespace dashboard
