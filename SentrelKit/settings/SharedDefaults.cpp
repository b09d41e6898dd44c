// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/SharedDefaults.h>

namespace sentrel {

UserDefaults sharedDefaults() {
    static const std::string suiteName = "Q4R7TWXN20.SentrelSharingDefaults";
    return UserDefaults(suiteName);
}

} // namespace sentrel
