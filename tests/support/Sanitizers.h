#pragma once

namespace sentrel {

#if defined(__SANITIZE_THREAD__)
inline constexpr bool underThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
inline constexpr bool underThreadSanitizer = true;
#else
inline constexpr bool underThreadSanitizer = false;
#endif
#else
inline constexpr bool underThreadSanitizer = false;
#endif

} // namespace sentrel
