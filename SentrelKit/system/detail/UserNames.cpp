// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/detail/UserNames.h>

#include <SentrelKit/platform/ProcessService.h>

#include <algorithm>
#include <utility>

namespace sentrel {

std::optional<std::string> UserNames::name(std::uint32_t user) {
    {
        const LockScope scope(lock_);
        const auto [entry, isNew] = entries_.try_emplace(user);
        if (!isNew)
            return entry->second.name;
        if (std::exchange(isLookingUp_, true))
            return std::nullopt;
    }
    session_->backgroundQueue->async([self = shared_from_this()] { self->lookUp(); });
    return std::nullopt;
}

std::optional<std::uint32_t> UserNames::nextWanted() {
    const LockScope scope(lock_);
    const auto wanted =
        std::find_if(entries_.begin(), entries_.end(), [](const auto& entry) { return !entry.second.isKnown; });
    if (wanted != entries_.end())
        return wanted->first;
    isLookingUp_ = false;
    return std::nullopt;
}

void UserNames::lookUp() {
    while (const std::optional<std::uint32_t> user = nextWanted()) {
        std::string name;
        const Availability answer = session_->platform().processes().userName(*user, name);
        const LockScope scope(lock_);
        if (answer == Availability::available)
            entries_[*user] = {true, std::move(name)};
        else if (answer == Availability::unsupported)
            entries_[*user] = {true, std::nullopt};
        else
            entries_.erase(*user);
    }
}

} // namespace sentrel
