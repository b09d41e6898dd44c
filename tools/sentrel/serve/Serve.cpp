// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Serve.h"

#include "tools/sentrel/serve/Exporter.h"
#include "tools/sentrel/serve/Server.h"

#include <glib-unix.h>

#include <csignal>
#include <cstdio>
#include <memory>

namespace tool {

namespace {

int fail(const std::string& why) {
    std::fprintf(stderr, "sentrel: %s\n", why.c_str());
    return 1;
}

// Serves the main queue until a signal asks for the end.
void runUntilSignal() {
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(g_main_loop_new(nullptr, 0), g_main_loop_unref);
    const GSourceFunc quit = [](void* running) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(running));
        return G_SOURCE_CONTINUE;
    };
    const unsigned sources[] = {g_unix_signal_add(SIGINT, quit, loop.get()),
                                g_unix_signal_add(SIGTERM, quit, loop.get())};
    g_main_loop_run(loop.get());
    for (const unsigned source : sources)
        g_source_remove(source);
}

} // namespace

int serve(const Configuration& configuration) {
    std::string reason;
    std::unique_ptr<Server> server = Server::listen(configuration, reason);
    if (!server)
        return fail(reason);
    Exporter exporter(sentrel::System::shared(), configuration.applications);
    if (!server->serve([&exporter] { return exporter.text(); }))
        return fail(configuration.certificate ? "cannot use the certificate with its key" : "cannot serve");
    std::fprintf(stderr, "sentrel: %s\n", server->address().c_str());
    runUntilSignal();
    server.reset(); // which asks the exporter, until it is gone
    return 0;
}

} // namespace tool
