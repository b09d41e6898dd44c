// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Sampler.h"

#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

SystemResource& resourceOf(Group group, const System& system) {
    switch (group) {
    case Group::processor:
        return system.cpu();
    case Group::memory:
        return system.mem();
    case Group::network:
        return system.net();
    case Group::volumes:
        return system.disk();
    case Group::applications:
        break;
    }
    return system.apps();
}

} // namespace

Sampler::Sampler(System& system, const Settings& settings, std::function<void()> tick)
    : system_(system), settings_(settings), timer_(1.0, false, std::move(tick)) {}

Sampler::~Sampler() {
    stop();
}

void Sampler::start() {
    if (std::exchange(isRunning_, true))
        return;
    // Only before any task ran: a model takes one sample at a time.
    if (!std::exchange(hasSampled_, true)) {
        for (const Group group : allGroups)
            if (settings_.samples(group))
                resourceOf(group, system_).update();
        system_.gpu().update();
        system_.battery().update();
    }
    startTasks();
    timer_.start();
}

void Sampler::stop() {
    if (!std::exchange(isRunning_, false))
        return;
    timer_.suspend();
    system_.stop();
}

void Sampler::settingsChanged() {
    if (isRunning_)
        startTasks();
}

void Sampler::startTasks() {
    for (const Group group : allGroups) {
        const SystemResource& resource = resourceOf(group, system_);
        if (settings_.samples(group))
            system_.start(resource);
        else
            system_.stop(resource);
    }
    if (system_.gpu().hasBoth())
        system_.start(system_.gpu());
}

} // namespace dashboard
