// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Counts the references that the code under test holds to what it was given: created, copied or retained ones, port
/// rights, registry objects. Any thread.
namespace darwin::ledger {

/// One more reference to the object of that kind.
void take(const std::string& kind, std::uintptr_t object);

/// One reference less. True if it was the last; an object without a reference makes an error of it.
bool give(const std::string& kind, std::uintptr_t object);

/// Whether somebody holds the object; a use of one that nobody holds is an error.
void use(const std::string& kind, std::uintptr_t object);

/// Something that the system would not survive.
void error(std::string what);

/// What is held and what was done wrong, in words; empty when the books are clean. Begins a new book.
[[nodiscard]] std::vector<std::string> close();

} // namespace darwin::ledger
