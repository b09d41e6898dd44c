#pragma once

#include <SentrelKit/Export.h>

namespace sentrel::platform {

class SENTREL_API NetworkService {
public:
    virtual ~NetworkService() = default;
};

} // namespace sentrel::platform
