#pragma once

/// Include it in one file of a program that draws text. Fontconfig's caches live as long as the process and refer to
/// their parts by offsets, which the leak sanitizer does not follow: it takes them for lost.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
