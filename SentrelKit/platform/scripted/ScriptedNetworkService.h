#pragma once

#include <SentrelKit/platform/NetworkService.h>

namespace sentrel::platform {

class SENTREL_API ScriptedNetworkService final : public NetworkService {};

} // namespace sentrel::platform
