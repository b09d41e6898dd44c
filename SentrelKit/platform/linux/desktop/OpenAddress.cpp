// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/desktop/OpenAddress.h>

#include <SentrelKit/platform/linux/common/GLibOwners.h>

#include <array>
#include <csignal>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

namespace sentrel::platform {

namespace {

// Runs in the child before its program does, which would keep what this process blocks and ignores.
void takeAllSignals(gpointer /*data*/) {
    for (int signal = 1; signal < NSIG; ++signal)
        std::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

ObjectPointer<GAppInfo> defaultApplication(const std::string& address) {
    const TextPointer scheme(g_uri_parse_scheme(address.c_str()));
    ObjectPointer<GAppInfo> application(g_app_info_get_default_for_uri_scheme(scheme.get()));
    if (application)
        return application;
    const ObjectPointer<GFile> file(g_file_new_for_uri(address.c_str()));
    return ObjectPointer<GAppInfo>(g_file_query_default_handler(file.get(), nullptr, nullptr));
}

bool startApplication(const std::string& address) {
    const ObjectPointer<GAppInfo> application = defaultApplication(address);
    if (!application) // inside a sandbox there is none, but the desktop's portal
        return g_app_info_launch_default_for_uri(address.c_str(), nullptr, nullptr) != FALSE;
    std::string argument = address;
    GList addresses{argument.data(), nullptr, nullptr};
    return g_desktop_app_info_launch_uris_as_manager(G_DESKTOP_APP_INFO(application.get()), &addresses, nullptr,
                                                     G_SPAWN_SEARCH_PATH, takeAllSignals, nullptr, nullptr, nullptr,
                                                     nullptr);
}

// The opener of desktops whose applications GIO does not know.
bool startOpener(const std::string& address) {
    std::string program = "xdg-open";
    std::string argument = address;
    std::array<char*, 3> arguments{program.data(), argument.data(), nullptr};
    constexpr auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    return g_spawn_async(nullptr, arguments.data(), nullptr, flags, takeAllSignals, nullptr, nullptr, nullptr) != FALSE;
}

} // namespace

bool openAddress(const std::string& address) {
    // A text with a null inside would be cut; one without a scheme could be taken for an option.
    if (address.find('\0') != std::string::npos || !g_uri_is_valid(address.c_str(), G_URI_FLAGS_NONE, nullptr))
        return false;
    return startApplication(address) || startOpener(address);
}

} // namespace sentrel::platform
