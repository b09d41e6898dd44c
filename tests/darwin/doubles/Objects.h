// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/util/PropertyList.h>

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <string>

/// Core Foundation's objects as the doubles make them.
namespace darwin {

/// A new object with the value, whole; its one reference is the caller's.
[[nodiscard]] CFTypeRef created(const sentrel::PropertyList& value);

/// A new object of a kind that the library has no word for.
[[nodiscard]] CFTypeRef createdOther();

/// A new dictionary with the value of a text and the value of something that is no text.
[[nodiscard]] CFTypeRef createdWithOddKey(const std::string& key, const sentrel::PropertyList& value);

/// A new object of such a kind, and what is told of its end.
[[nodiscard]] CFTypeRef createdWithEnd(std::function<void(CFTypeRef)> ended);

/// A new run-loop source.
[[nodiscard]] CFTypeRef createdSource(void (*call)(void*), void* context);

/// How many sources are in run loops.
[[nodiscard]] int loopSources();

/// Lets every source that is in a run loop call back, on the calling thread.
void signalSources();

/// The text of a string object.
[[nodiscard]] std::string text(CFTypeRef string);

} // namespace darwin
