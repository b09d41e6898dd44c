// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Preferences as property-list files: `$XDG_CONFIG_HOME/<suite>.plist`, or under ~/.config, mode 0600.
///
/// Writers of all processes take turns by a lock on `.<suite>.plist.lock` beside the file, read the newest content,
/// change it and put a complete new binary file in its place, synchronised to the disk: a reader sees the old file or
/// the new one, whenever a writer is killed. Readers take no lock and parse a version of the file once. Files in XML
/// are read too. A symbolic link is followed, and the file that it names is replaced.
///
/// What cannot be read as a property list of keys (damaged, too large, a folder) reads as empty, and writing is refused
/// so that nothing is lost; a refused write says so in one line on the standard error stream. A key or text with
/// U+0000, which other systems may write, is read, and a suite is written again once no such text is in it.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/PreferenceStore.h>

#include <map>

namespace sentrel::platform {

class LinuxPreferenceStore final : public PreferenceStore {
public:
    std::shared_ptr<PreferenceSuite> suite(const std::string& name) override;

private:
    Lock lock_;
    std::map<std::string, std::shared_ptr<PreferenceSuite>> suites_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
