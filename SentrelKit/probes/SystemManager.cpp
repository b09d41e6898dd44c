#include <SentrelKit/probes/SystemManager.h>

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/VolumeService.h>

namespace sentrel::probes {

SystemManager* System = nullptr;

SystemManager::SystemManager() : backgroundQueue(dispatch::backgroundQueue()) {
    cpuBrand[0] = '-';
}

SystemManager::~SystemManager() = default;

void _constructor() {
    delete System;
    System = new SystemManager;
}

} // namespace sentrel::probes
