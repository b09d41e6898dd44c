#pragma once

#include <SentrelKit/platform/PreferenceStore.h>

namespace sentrel::platform {

class LinuxPreferenceStore final : public PreferenceStore {};

} // namespace sentrel::platform
