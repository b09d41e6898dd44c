// SPDX-License-Identifier: Apache-2.0
// Without "#pragma once": the macro may come back between two inclusions.

/// X11's <X11/Xlib.h> makes macros of words that interfaces here use as names. The headers that use one include this
/// one, which turns the macro into the declaration that it stands for, so that code for X11 goes on compiling too. A
/// host that includes Xlib.h after the headers of SentrelKit includes this one once more.

#ifdef Status
#undef Status
using Status = int;
#endif
