#pragma once

#include <SentrelKit/platform/ProcessService.h>

namespace sentrel::platform {

class LinuxProcessService final : public ProcessService {};

} // namespace sentrel::platform
