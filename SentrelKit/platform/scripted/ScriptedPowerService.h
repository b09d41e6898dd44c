#pragma once

#include <SentrelKit/platform/PowerService.h>

namespace sentrel::platform {

class SENTREL_API ScriptedPowerService final : public PowerService {};

} // namespace sentrel::platform
