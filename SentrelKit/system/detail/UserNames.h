// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace sentrel {

/// The names of users, looked up on the background queue, one after the other: a directory of users on the network may
/// take its time, and nobody waits for it. Each is looked up once; one whose directory failed, again at the next
/// question. Any thread.
class SENTREL_LOCAL UserNames : public std::enable_shared_from_this<UserNames> {
public:
    explicit UserNames(std::shared_ptr<probes::SystemManager> session) : session_(std::move(session)) {}

    /// The name of a user; absent until it was found, and where there is none.
    [[nodiscard]] std::optional<std::string> name(std::uint32_t user);

private:
    struct Entry {
        bool isKnown = false; // if not, it is to be looked up
        std::optional<std::string> name{};
    };

    void lookUp();
    [[nodiscard]] std::optional<std::uint32_t> nextWanted();

    const std::shared_ptr<probes::SystemManager> session_;
    Lock lock_;
    std::map<std::uint32_t, Entry> entries_ SENTREL_GUARDED_BY(lock_);
    bool isLookingUp_ SENTREL_GUARDED_BY(lock_) = false;
};

} // namespace sentrel
