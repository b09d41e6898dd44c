#pragma once

#include <SentrelKit/platform/PowerService.h>

namespace sentrel::platform {

class LinuxPowerService final : public PowerService {};

} // namespace sentrel::platform
