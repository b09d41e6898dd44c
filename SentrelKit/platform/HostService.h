#pragma once

#include <SentrelKit/Export.h>

namespace sentrel::platform {

class SENTREL_API HostService {
public:
    virtual ~HostService() = default;
};

} // namespace sentrel::platform
