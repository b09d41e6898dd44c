// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/PreferenceStore.h>

#include <map>

namespace sentrel::platform {

/// The user defaults, a suite each.
class MacPreferenceStore final : public PreferenceStore {
public:
    std::shared_ptr<PreferenceSuite> suite(const std::string& name) override;

private:
    Lock lock_;
    std::map<std::string, std::shared_ptr<PreferenceSuite>> suites_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
