// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the sanitizers take wrongly in the text renderer. Include it in one file of a program that draws text.

// Fontconfig's caches live as long as the process and refer to their parts by offsets, which the leak sanitizer does
// not follow: it takes them for lost.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

// Pango matches fonts on a thread of its own and hands the result over under GLib's locks, which the thread sanitizer
// does not see: it takes the texts that those libraries compare and copy for unguarded, and their locks for misordered.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libpangoft2-1.0.so\n"
           "called_from_lib:libfontconfig.so\n"
           "called_from_lib:libglib-2.0.so\n"
           "deadlock:libgobject-2.0.so\n";
}
