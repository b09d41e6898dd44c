#include <SentrelKit/platform/linux/OpenAddress.h>

#include <gio/gio.h>

#include <array>

namespace sentrel::platform {

namespace {

// The opener of desktops whose applications GIO does not know.
bool startOpener(const std::string& address) {
    std::string program = "xdg-open";
    std::string argument = address;
    std::array<char*, 3> arguments{program.data(), argument.data(), nullptr};
    constexpr auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    return g_spawn_async(nullptr, arguments.data(), nullptr, flags, nullptr, nullptr, nullptr, nullptr) != FALSE;
}

} // namespace

bool openAddress(const std::string& address) {
    // A text with a null inside would be cut; one without a scheme could be taken for an option.
    if (address.find('\0') != std::string::npos || !g_uri_is_valid(address.c_str(), G_URI_FLAGS_NONE, nullptr))
        return false;
    return g_app_info_launch_default_for_uri(address.c_str(), nullptr, nullptr) || startOpener(address);
}

} // namespace sentrel::platform
