// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What every public header begins with: the demand for C++20 and the mark of what the libraries export.

#if __cplusplus < 202002L
#error "SentrelKit needs C++20: compile with -std=c++20 or later"
#include <SentrelKit/NeedsCxx20> // no such file: the one error above is enough, so the compiler ends here
#endif

/// Marks a name that host programs may use; every other symbol stays inside the libraries.
#define SENTREL_API __attribute__((visibility("default")))

/// Marks the definition of a class that is declared inside a marked one and yet stays inside the libraries.
#define SENTREL_LOCAL __attribute__((visibility("hidden")))
