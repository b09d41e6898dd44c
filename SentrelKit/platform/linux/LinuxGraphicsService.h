#pragma once

#include <SentrelKit/platform/GraphicsService.h>

namespace sentrel::platform {

class LinuxGraphicsService final : public GraphicsService {};

} // namespace sentrel::platform
