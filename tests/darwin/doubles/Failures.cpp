// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Failures.h"

#include <map>
#include <mutex>

namespace darwin::failures {

namespace {

struct Plans {
    std::mutex lock;
    std::map<std::string, std::map<int, int>> codes; // of a function: call and code
    std::map<std::string, int> always;               // of a function: code
    std::map<std::string, int> counts;
};

Plans& plans() {
    static Plans& instance = *new Plans;
    return instance;
}

} // namespace

void plan(const std::string& function, int code, int call) {
    const std::lock_guard guard(plans().lock);
    plans().codes[function][plans().counts[function] + call] = code;
}

void planAll(const std::string& function, int code) {
    const std::lock_guard guard(plans().lock);
    plans().always[function] = code;
}

std::optional<int> due(const std::string& function) {
    const std::lock_guard guard(plans().lock);
    const int call = ++plans().counts[function];
    if (const auto always = plans().always.find(function); always != plans().always.end())
        return always->second;
    const auto codes = plans().codes.find(function);
    if (codes == plans().codes.end())
        return std::nullopt;
    const auto code = codes->second.find(call);
    return code == codes->second.end() ? std::nullopt : std::optional(code->second);
}

int calls(const std::string& function) {
    const std::lock_guard guard(plans().lock);
    return plans().counts[function];
}

std::map<std::string, int> called() {
    const std::lock_guard guard(plans().lock);
    return plans().counts;
}

void reset() {
    const std::lock_guard guard(plans().lock);
    plans().codes.clear();
    plans().always.clear();
    plans().counts.clear();
}

} // namespace darwin::failures
