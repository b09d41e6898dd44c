#pragma once

#include <SentrelKit/Export.h>

namespace sentrel::platform {

/// An open conversation with the system about disks.
class SENTREL_API DiskSession {
public:
    virtual ~DiskSession() = default;
};

class SENTREL_API VolumeService {
public:
    virtual ~VolumeService() = default;
};

} // namespace sentrel::platform
