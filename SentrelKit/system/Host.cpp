// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Host.h>

#include <SentrelKit/platform/HostService.h>

#include <utility>

namespace sentrel {

namespace {

// The value of a fact by its other form.
template <class Fact, class Ask>
std::optional<Fact> valueOf(Ask ask) {
    Fact fact;
    return ask(fact) == Availability::available ? std::optional(std::move(fact)) : std::nullopt;
}

} // namespace

Host::Host(std::shared_ptr<probes::SystemManager> session) : session_(std::move(session)) {}

std::optional<OperatingSystem> Host::operatingSystem() const {
    return valueOf<OperatingSystem>([this](OperatingSystem& system) { return operatingSystem(system); });
}

Availability Host::operatingSystem(OperatingSystem& system) const {
    return session_->platform().host().operatingSystem(system);
}

std::optional<Virtualization> Host::virtualization() const {
    return valueOf<Virtualization>(
        [this](Virtualization& virtualization) { return this->virtualization(virtualization); });
}

Availability Host::virtualization(Virtualization& virtualization) const {
    if (const std::optional<Virtualization> known = virtualization_.value()) {
        virtualization = *known;
        return Availability::available;
    }
    const Availability availability = session_->platform().host().virtualization(virtualization);
    if (availability == Availability::available)
        virtualization_.setValue(virtualization);
    return availability;
}

std::optional<ControlGroup> Host::controlGroup() const {
    return valueOf<ControlGroup>([this](ControlGroup& group) { return controlGroup(group); });
}

Availability Host::controlGroup(ControlGroup& group) const {
    return session_->platform().host().controlGroup(group);
}

std::optional<std::vector<LoggedInUser>> Host::users() const {
    return valueOf<std::vector<LoggedInUser>>([this](std::vector<LoggedInUser>& list) { return users(list); });
}

Availability Host::users(std::vector<LoggedInUser>& users) const {
    return session_->platform().host().users(users);
}

} // namespace sentrel
