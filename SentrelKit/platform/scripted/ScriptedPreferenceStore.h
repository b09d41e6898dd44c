// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/PreferenceStore.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <map>

namespace sentrel::platform {

/// A suite in memory, empty as made. An address that is no file's is read as the bytes of its text. Questions and
/// changes are recorded with the key, a removal with each key; a change that fails is not kept, and a question that
/// fails finds nothing. Any thread.
class SENTREL_API ScriptedPreferenceSuite final : public PreferenceSuite {
public:
    std::optional<PropertyList> object(std::string_view key) const override;
    std::optional<PropertyList::Address> address(std::string_view key) const override;
    bool set(std::string_view key, const PropertyList& value) override;
    bool remove(std::span<const std::string> keys) override;
    std::vector<std::string> keys() const override;

    ScriptedCalls calls; ///< what was asked, and how it fails

private:
    [[nodiscard]] std::optional<PropertyList> find(std::string_view key) const;

    mutable Lock lock_;
    PropertyList::Dictionary content_ SENTREL_GUARDED_BY(lock_);
};

/// Suites in memory, kept as long as the store. Any thread.
class SENTREL_API ScriptedPreferenceStore final : public PreferenceStore {
public:
    std::shared_ptr<PreferenceSuite> suite(const std::string& name) override;

    /// The same suite, to set it up; null for the empty name, which no suite has. Not recorded.
    [[nodiscard]] std::shared_ptr<ScriptedPreferenceSuite> scripted(const std::string& name);

    ScriptedCalls calls; ///< the suites that were asked for, and whether there can be one; a suite has calls of its own

private:
    Lock lock_;
    std::map<std::string, std::shared_ptr<ScriptedPreferenceSuite>> suites_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
