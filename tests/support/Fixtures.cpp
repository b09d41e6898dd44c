// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Fixtures.h"

namespace sentrel {

std::string fixturePath(const std::string& name) {
    return SENTREL_FIXTURES "/" + name;
}

} // namespace sentrel
