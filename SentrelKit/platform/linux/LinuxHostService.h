#pragma once

#include <SentrelKit/platform/HostService.h>

namespace sentrel::platform {

class LinuxHostService final : public HostService {};

} // namespace sentrel::platform
