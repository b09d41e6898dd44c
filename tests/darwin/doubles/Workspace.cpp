// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Workspace.h"

#include <SentrelKit/platform/macos/processes/Workspace.h>
#include <SentrelKit/platform/macos/volumes/VolumeIcon.h>

#include "tests/darwin/doubles/Machine.h"

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace {

struct Running {
    std::mutex lock;
    std::vector<std::function<void()>> observers;
};

Running& running() {
    static Running& instance = *new Running;
    return instance;
}

std::vector<std::function<void()>> observers() {
    const std::lock_guard guard(running().lock);
    return running().observers;
}

} // namespace

namespace darwin::workspace {

void changeRunning() {
    for (const auto& changed : observers())
        changed();
}

int runningObservers() {
    return static_cast<int>(observers().size());
}

void reset() {
    const std::lock_guard guard(running().lock);
    running().observers.clear();
}

} // namespace darwin::workspace

namespace sentrel::platform::Workspace {

std::vector<RunningApplication> runningApplications() {
    return darwin::machine().running;
}

void observeRunningApplications(std::function<void()> changed) {
    const std::lock_guard guard(running().lock);
    running().observers.push_back(std::move(changed));
}

} // namespace sentrel::platform::Workspace

namespace sentrel::platform {

std::optional<Icon> volumeIcon(const std::string& path) {
    const auto picture = darwin::machine().pictures.find(path);
    if (picture == darwin::machine().pictures.end())
        return std::nullopt;
    return Icon::tiff([bytes = picture->second] { return bytes; });
}

} // namespace sentrel::platform
