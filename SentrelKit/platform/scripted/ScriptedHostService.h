#pragma once

#include <SentrelKit/platform/HostService.h>

namespace sentrel::platform {

class SENTREL_API ScriptedHostService final : public HostService {};

} // namespace sentrel::platform
