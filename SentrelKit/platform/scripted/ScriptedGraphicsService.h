#pragma once

#include <SentrelKit/platform/GraphicsService.h>

namespace sentrel::platform {

class SENTREL_API ScriptedGraphicsService final : public GraphicsService {};

} // namespace sentrel::platform
