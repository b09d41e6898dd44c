#pragma once

/// Marks a name that host programs may use; every other symbol stays inside the libraries.
#define SENTREL_API __attribute__((visibility("default")))
