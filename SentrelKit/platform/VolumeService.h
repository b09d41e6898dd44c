#pragma once

#include <SentrelKit/Export.h>

#include <memory>

namespace sentrel::platform {

/// An open conversation with the system about disks.
class SENTREL_API DiskSession {
public:
    virtual ~DiskSession() = default;
};

class SENTREL_API VolumeService {
public:
    virtual ~VolumeService() = default;
    [[nodiscard]] virtual std::unique_ptr<DiskSession> openSession() { return std::make_unique<DiskSession>(); }
};

} // namespace sentrel::platform
