// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace sentrel::platform {

/// Objects under numbers that stand for them in the context of a callback of the system which retains nothing: a
/// callback that comes late finds its object no longer instead of one that is gone. Any thread.
template <class Object>
class Numbered {
public:
    /// Keeps an object under a number that was never used; the number as a context.
    [[nodiscard]] void* add(std::shared_ptr<Object> object) {
        const LockScope scope(lock_);
        objects_[++last_] = std::move(object);
        return reinterpret_cast<void*>(last_);
    }

    /// The object under a number, which nobody finds there any more, or null.
    std::shared_ptr<Object> take(void* context) {
        const LockScope scope(lock_);
        const auto entry = objects_.find(reinterpret_cast<std::uintptr_t>(context));
        if (entry == objects_.end())
            return nullptr;
        std::shared_ptr<Object> object = std::move(entry->second);
        objects_.erase(entry);
        return object;
    }

    /// The object under a number, or null.
    [[nodiscard]] std::shared_ptr<Object> find(void* context) {
        const LockScope scope(lock_);
        const auto entry = objects_.find(reinterpret_cast<std::uintptr_t>(context));
        return entry == objects_.end() ? nullptr : entry->second;
    }

private:
    Lock lock_;
    std::uintptr_t last_ SENTREL_GUARDED_BY(lock_) = 0;
    std::map<std::uintptr_t, std::shared_ptr<Object>> objects_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
