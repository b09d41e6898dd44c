#pragma once

#include <SentrelKit/Export.h>

namespace sentrel::platform {

class SENTREL_API PreferenceStore {
public:
    virtual ~PreferenceStore() = default;
};

} // namespace sentrel::platform
