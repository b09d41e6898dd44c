#pragma once

#include <SentrelKit/Export.h>

namespace sentrel::platform {

class SENTREL_API PowerService {
public:
    virtual ~PowerService() = default;
};

} // namespace sentrel::platform
