// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Machine.h"

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/Workspace.h"

#include <utility>

namespace darwin {

namespace {
std::unique_ptr<Machine>& current() {
    static std::unique_ptr<Machine>& instance = *new std::unique_ptr<Machine>;
    return instance;
}
} // namespace

RegistryEntry& RegistryEntry::add(RegistryEntry entry) {
    const auto& child = children.emplace_back(std::make_shared<RegistryEntry>(std::move(entry)));
    child->parent = this;
    return *child;
}

Machine& machine() {
    return *current();
}

void begin() {
    current() = std::make_unique<Machine>();
    failures::reset();
    queues::reset();
    workspace::reset();
    static_cast<void>(ledger::close());
}

} // namespace darwin
