#pragma once

#include <SentrelKit/Export.h>

namespace sentrel::platform {

class SENTREL_API ProcessService {
public:
    virtual ~ProcessService() = default;
};

} // namespace sentrel::platform
