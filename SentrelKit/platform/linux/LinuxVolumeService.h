#pragma once

#include <SentrelKit/platform/VolumeService.h>

namespace sentrel::platform {

class LinuxVolumeService final : public VolumeService {};

} // namespace sentrel::platform
