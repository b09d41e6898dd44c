#pragma once

#include <SentrelKit/platform/NetworkService.h>

namespace sentrel::platform {

class LinuxNetworkService final : public NetworkService {
public:
    bool listInterfaces(const std::function<void(const InterfaceInfo&)>& each) override;
    std::optional<MediaStatus> mediaStatus(std::string_view name) override;
    std::optional<std::unique_ptr<InterfaceEntry>> matchInterface(const std::string& name) override;
    Connectivity connectivity() override;
    std::unique_ptr<ConfigurationWatch> watchConfiguration(std::function<void()> changed) override;
};

} // namespace sentrel::platform
