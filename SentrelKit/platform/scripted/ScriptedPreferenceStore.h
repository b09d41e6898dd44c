#pragma once

#include <SentrelKit/platform/PreferenceStore.h>

namespace sentrel::platform {

class SENTREL_API ScriptedPreferenceStore final : public PreferenceStore {};

} // namespace sentrel::platform
