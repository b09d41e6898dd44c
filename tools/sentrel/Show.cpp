// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Show.h"

#include "tools/sentrel/Output.h"
#include "tools/terminal/TextWidth.h"

#include <SentrelKit/platform/DispatchQueue.h>

#include <clocale>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace tool {

namespace {

void sample(sentrel::System& system, const Selection& selection) {
    for (const std::string_view resource : selection.resources())
        if (sentrel::SystemResource* const model = modelOf(system, resource))
            model->update();
        else if (resource == "sensors")
            system.sensors().update();
}

double now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::string textOf(sentrel::System& system, const ShowOptions& options) {
    return options.json ? jsonLine(system, options.selection, now()) + '\n' : readableText(system, options.selection);
}

} // namespace

int show(const ShowOptions& options) {
    using namespace std::chrono_literals;
    sentrel::System& system = sentrel::System::shared();
    options.selection.want(system);
    sample(system, options.selection); // where rates and shares begin
    std::chrono::duration<double> interval = 1100ms;
    for (;;) {
        sentrel::dispatch::runMain(interval);
        sample(system, options.selection);
        const int status = print(textOf(system, options));
        if (status != 0 || !options.watch)
            return status;
        interval = *options.watch;
    }
}

int print(const std::string& text) {
    std::setlocale(LC_CTYPE, "");
    const bool isPlain = isatty(STDOUT_FILENO) != 0 && !terminal::isUnicodeLocale();
    if (std::fputs((isPlain ? terminal::asciiText(text) : text).c_str(), stdout) >= 0 && std::fflush(stdout) == 0)
        return 0;
    std::perror("sentrel: cannot write");
    return 1;
}

} // namespace tool
