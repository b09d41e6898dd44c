#pragma once

#include <SentrelKit/platform/NetworkService.h>

namespace sentrel::platform {

class LinuxNetworkService final : public NetworkService {};

} // namespace sentrel::platform
