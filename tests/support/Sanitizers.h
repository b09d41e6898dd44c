// SPDX-License-Identifier: Apache-2.0
#pragma once

#if !defined(__has_feature)
#define __has_feature(feature) 0
#endif

namespace sentrel {

#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
inline constexpr bool underThreadSanitizer = true;
#else
inline constexpr bool underThreadSanitizer = false;
#endif

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr bool underAddressSanitizer = true;
#else
inline constexpr bool underAddressSanitizer = false;
#endif

} // namespace sentrel
