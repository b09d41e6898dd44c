#include <SentrelKit/platform/linux/LinuxNetworkService.h>

#include <cerrno>

namespace sentrel::platform {

bool LinuxNetworkService::listInterfaces(const std::function<void(const InterfaceInfo&)>& /*each*/) {
    errno = ENOSYS;
    return false;
}

std::optional<MediaStatus> LinuxNetworkService::mediaStatus(std::string_view /*name*/) {
    errno = ENOSYS;
    return std::nullopt;
}

std::optional<std::unique_ptr<InterfaceEntry>> LinuxNetworkService::matchInterface(const std::string& /*name*/) {
    errno = ENOSYS;
    return std::nullopt;
}

Connectivity LinuxNetworkService::connectivity() {
    return Connectivity::unknown;
}

std::unique_ptr<ConfigurationWatch> LinuxNetworkService::watchConfiguration(std::function<void()> /*changed*/) {
    errno = ENOSYS;
    return nullptr;
}

} // namespace sentrel::platform
