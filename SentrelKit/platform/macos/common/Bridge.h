// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Objects of Foundation and of the library in each other's form. For Objective-C++ alone; any thread.

#include <SentrelKit/platform/macos/common/Values.h>

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace sentrel::platform {

/// A text; nil for what is not UTF-8.
[[nodiscard]] inline NSString* object(const std::string& text) {
    return (__bridge NSString*)cfString(text).get();
}

/// A text, or nil for none.
[[nodiscard]] inline NSString* object(const std::optional<std::string>& text) {
    return text ? object(*text) : nil;
}

/// A text in UTF-8; absent for nil.
[[nodiscard]] inline std::optional<std::string> textOf(NSString* text) {
    return textOf((__bridge CFTypeRef)text);
}

} // namespace sentrel::platform
