// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/settings/UserDefaults.h>

#include <array>

namespace dashboard {

/// What is sampled together and shown in one panel.
enum class Group { processor, memory, network, volumes, applications };

constexpr std::array<Group, 5> allGroups = {Group::processor, Group::memory, Group::network, Group::volumes,
                                            Group::applications};

/// "Processor" and so on.
const char* nameOf(Group group);

/// What the user chose, as it is kept: the unit in the suite that all programs of the library share, the groups in one
/// of the dashboard's own.
class Settings {
public:
    /// As they are kept.
    Settings();

    /// With all groups, whatever is kept: for a report and a picture of the whole machine.
    [[nodiscard]] static Settings ofEverything();

    [[nodiscard]] bool usesFahrenheit() const;
    void setUsesFahrenheit(bool usesFahrenheit) const;

    /// All of them, until the user chose otherwise.
    [[nodiscard]] bool samples(Group group) const { return samples_.at(static_cast<std::size_t>(group)); }
    void setSamples(Group group, bool samples);

private:
    sentrel::UserDefaults own_;
    std::array<bool, allGroups.size()> samples_{};
};

} // namespace dashboard
