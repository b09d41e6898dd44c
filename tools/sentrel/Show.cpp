// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Show.h"

#include "tools/sentrel/Output.h"

#include <SentrelKit/platform/DispatchQueue.h>

#include <cstdio>
#include <string>

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

bool print(sentrel::System& system, const ShowOptions& options) {
    const std::string text =
        options.json ? jsonLine(system, options.selection, now()) + '\n' : readableText(system, options.selection);
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
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
        if (!print(system, options)) {
            std::perror("sentrel: cannot write");
            return 1;
        }
        if (!options.watch)
            return 0;
        interval = *options.watch;
    }
}

} // namespace tool
