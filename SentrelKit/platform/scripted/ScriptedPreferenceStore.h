// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/PreferenceStore.h>

#include <map>

namespace sentrel::platform {

/// A suite in memory that can be made to refuse changes or to be unreadable. Any thread.
class SENTREL_API ScriptedPreferenceSuite final : public PreferenceSuite {
public:
    std::optional<PropertyList> object(std::string_view key) const override;
    std::optional<PropertyList::Address> address(std::string_view key) const override;
    bool setDouble(std::string_view key, double value) override { return set(key, value); }
    bool setInteger(std::string_view key, std::int64_t value) override { return set(key, value); }
    bool setBoolean(std::string_view key, bool value) override { return set(key, value); }
    bool setAddress(std::string_view key, const PropertyList::Address& value) override { return set(key, value); }
    bool setObject(std::string_view key, const PropertyList& value) override;
    bool remove(std::span<const std::string> keys) override;
    std::vector<std::string> keys() const override;

    /// Whether changes are kept (the usual case) or refused.
    void setWritable(bool writable);

    /// Whether the values can be read (the usual case).
    void setReadable(bool readable);

private:
    bool set(std::string_view key, const PropertyList& value);

    mutable Lock lock_;
    PropertyList::Dictionary content_ SENTREL_GUARDED_BY(lock_);
    bool writable_ SENTREL_GUARDED_BY(lock_) = true;
    bool readable_ SENTREL_GUARDED_BY(lock_) = true;
};

/// Suites in memory, kept as long as the store. Any thread.
class SENTREL_API ScriptedPreferenceStore final : public PreferenceStore {
public:
    std::shared_ptr<PreferenceSuite> suite(const std::string& name) override;

    /// The same suite, to be made to fail; null for the empty name, which no suite has.
    [[nodiscard]] std::shared_ptr<ScriptedPreferenceSuite> scripted(const std::string& name);

private:
    Lock lock_;
    std::map<std::string, std::shared_ptr<ScriptedPreferenceSuite>> suites_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
