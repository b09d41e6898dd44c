// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Serve.h"

#include "tools/sentrel/serve/Exporter.h"
#include "tools/sentrel/serve/Server.h"

#include <glib-unix.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>

namespace tool {

namespace {

int fail(const std::string& why) {
    std::fprintf(stderr, "sentrel: %s\n", why.c_str());
    return 1;
}

// Takes the signals that end the program, from its making on.
class Ending {
public:
    Ending() : loop_(g_main_loop_new(nullptr, 0), g_main_loop_unref) {
        for (std::size_t i = 0; i < std::size(signals); ++i)
            sources_[i] = g_unix_signal_add(signals[i], quit, loop_.get());
    }

    ~Ending() {
        for (const unsigned source : sources_)
            g_source_remove(source);
    }

    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

    // Serves the main queue until one of the signals comes, or came.
    void await() { g_main_loop_run(loop_.get()); }

private:
    static constexpr int signals[] = {SIGINT, SIGTERM};

    static gboolean quit(void* loop) {
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return G_SOURCE_CONTINUE;
    }

    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop_;
    unsigned sources_[std::size(signals)] = {};
};

} // namespace

int serve(const Configuration& configuration) {
    Ending ending;
    std::string reason;
    std::unique_ptr<Server> server = Server::listen(configuration, reason);
    if (!server)
        return fail(reason);
    Exporter exporter(sentrel::System::shared(), configuration.applications, configuration.pace,
                      configuration.deviceLimit);
    if (!server->serve([&exporter] { return exporter.text(); }))
        return fail(configuration.certificate ? "cannot use the certificate with its key" : "cannot serve");
    std::fprintf(stderr, "sentrel: %s\n", server->address().c_str());
    ending.await();
    server.reset(); // which asks the exporter, until it is gone
    return 0;
}

} // namespace tool
