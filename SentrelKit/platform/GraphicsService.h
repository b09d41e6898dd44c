#pragma once

#include <SentrelKit/Export.h>

namespace sentrel::platform {

class SENTREL_API GraphicsService {
public:
    virtual ~GraphicsService() = default;
};

} // namespace sentrel::platform
