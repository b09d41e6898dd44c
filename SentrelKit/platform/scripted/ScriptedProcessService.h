#pragma once

#include <SentrelKit/platform/ProcessService.h>

namespace sentrel::platform {

class SENTREL_API ScriptedProcessService final : public ProcessService {};

} // namespace sentrel::platform
