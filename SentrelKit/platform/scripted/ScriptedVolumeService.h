#pragma once

#include <SentrelKit/platform/VolumeService.h>

namespace sentrel::platform {

class SENTREL_API ScriptedVolumeService final : public VolumeService {};

} // namespace sentrel::platform
