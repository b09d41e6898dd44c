// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Ledger.h"

#include <map>
#include <mutex>
#include <utility>

namespace darwin::ledger {

namespace {

struct Book {
    std::mutex lock;
    std::map<std::pair<std::string, std::uintptr_t>, long> references;
    std::vector<std::string> errors;
};

Book& book() {
    static Book& instance = *new Book;
    return instance;
}

std::string name(const std::string& kind, std::uintptr_t object) {
    return kind + " " + std::to_string(object);
}

} // namespace

void take(const std::string& kind, std::uintptr_t object) {
    const std::lock_guard guard(book().lock);
    ++book().references[{kind, object}];
}

bool give(const std::string& kind, std::uintptr_t object) {
    const std::lock_guard guard(book().lock);
    const auto entry = book().references.find({kind, object});
    if (entry == book().references.end()) {
        book().errors.push_back("released without a reference: " + name(kind, object));
        return false;
    }
    if (--entry->second > 0)
        return false;
    book().references.erase(entry);
    return true;
}

void use(const std::string& kind, std::uintptr_t object) {
    const std::lock_guard guard(book().lock);
    if (!book().references.contains({kind, object}))
        book().errors.push_back("used without a reference: " + name(kind, object));
}

void error(std::string what) {
    const std::lock_guard guard(book().lock);
    book().errors.push_back(std::move(what));
}

std::vector<std::string> close() {
    const std::lock_guard guard(book().lock);
    std::vector<std::string> report = std::exchange(book().errors, {});
    for (const auto& [object, count] : std::exchange(book().references, {}))
        report.push_back(std::to_string(count) + " left of " + name(object.first, object.second));
    return report;
}

} // namespace darwin::ledger
