// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Functions over zero-terminated byte texts. They work in place on the caller's text and return it, unless they say
/// that they return a new one, which the caller releases with Mem_free. Any text may be missing: none in gives none (or
/// 0, or false) out. Case-insensitive comparisons compare the upper-case forms of the bytes; white space is the
/// platform's space class. Any thread, as long as no other one touches the same text.

#include <SentrelKit/Export.h>

#include <cstdarg>
#include <cstdint>

namespace sentrel {

/// Cuts the text at its first carriage return or line feed.
SENTREL_API char* Str_chomp(char* s) noexcept;

/// Removes white space at both ends.
SENTREL_API char* Str_trim(char* s) noexcept;

/// Removes white space at the start.
SENTREL_API char* Str_ltrim(char* s) noexcept;

/// Removes white space at the end.
SENTREL_API char* Str_rtrim(char* s) noexcept;

/// Replaces every run of white space by one blank.
SENTREL_API char* Str_wtrim(char* s) noexcept;

/// Removes double quotes, single quotes and white space, in any mix, at both ends.
SENTREL_API char* Str_unquote(char* s) noexcept;

/// Puts every letter in lower case, as the process's locale maps single bytes.
SENTREL_API char* Str_toLower(char* s) noexcept;

/// Puts every letter in upper case, as the process's locale maps single bytes.
SENTREL_API char* Str_toUpper(char* s) noexcept;

/// The decimal number at the start of a text: leading white space and a sign are allowed, what follows the number is
/// ignored. It is converted to 64 bits, of which the low 32 are kept. A missing or empty text, one without a digit, and
/// a number beyond 64 bits end the process with a "NumberFormatException" report: check first what may be bad.
[[nodiscard]] SENTREL_API std::int32_t Str_parseInt(const char* s) noexcept;

/// As Str_parseInt, all 64 bits.
[[nodiscard]] SENTREL_API std::int64_t Str_parseLLong(const char* s) noexcept;

/// As Str_parseInt, for every floating-point number that `strtod` reads.
[[nodiscard]] SENTREL_API double Str_parseDouble(const char* s) noexcept;

/// Replaces every occurrence of one byte by another.
SENTREL_API char* Str_replaceChar(char* s, char from, char to) noexcept;

/// Whether `a` begins with `b`, without regard to case. Every text begins with the empty one.
[[nodiscard]] SENTREL_API bool Str_startsWith(const char* a, const char* b) noexcept;

/// Whether `a` ends with `b`, without regard to case. Every text ends with the empty one.
[[nodiscard]] SENTREL_API bool Str_endsWith(const char* a, const char* b) noexcept;

/// The first occurrence of `b` in `a`, without regard to case; none also for an empty `b`.
[[nodiscard]] SENTREL_API const char* Str_sub(const char* a, const char* b) noexcept;

/// Whether the text contains any of the characters.
[[nodiscard]] SENTREL_API bool Str_has(const char* s, const char* characters) noexcept;

/// Removes each backslash that stands before one of the characters. A character so escaped is not itself the backslash
/// that escapes the next.
SENTREL_API char* Str_unescape(const char* characters, char* s) noexcept;

/// Whether two texts are equal, without regard to case. A missing text equals nothing.
[[nodiscard]] SENTREL_API bool Str_isEqual(const char* a, const char* b) noexcept;

/// Whether two texts are equal byte by byte. A missing text equals nothing.
[[nodiscard]] SENTREL_API bool Str_isByteEqual(const char* a, const char* b) noexcept;

/// Copies at most `n` characters and a terminator; the destination holds n + 1 bytes, at least one. A missing source or
/// an `n` below 1 gives an empty destination.
SENTREL_API char* Str_copy(char* destination, const char* source, std::int32_t n) noexcept;

/// A new copy.
[[nodiscard]] SENTREL_API char* Str_dup(const char* s) noexcept;

/// A new copy of the first `n` (at least 0) characters, which need no terminator.
[[nodiscard]] SENTREL_API char* Str_ndup(const char* s, std::int32_t n) noexcept;

/// Puts the texts that follow, up to a null pointer, one after the other into the destination, at most `n` characters
/// in all; the destination holds n + 1 bytes, at least one.
[[gnu::sentinel]] SENTREL_API char* Str_join(char* destination, std::int32_t n, ...) noexcept;

/// A new text, formatted by the platform's printf. None also if the platform cannot format it.
[[nodiscard]] [[gnu::format(printf, 1, 2)]] SENTREL_API char* Str_cat(const char* format, ...) noexcept;

/// As Str_cat, of an argument list.
[[nodiscard]] [[gnu::format(printf, 1, 0)]] SENTREL_API char* Str_vcat(const char* format, va_list arguments) noexcept;

/// Cuts a text of more than n + 4 characters to its first `n` (at least 0) and "...". A text of n + 4 characters or
/// fewer stays as it is, although the cut one has n + 3: meant so.
SENTREL_API char* Str_trunc(char* s, std::int32_t n) noexcept;

/// Cuts `s` at the first occurrence of `t`, without regard to case.
SENTREL_API char* Str_curtail(char* s, const char* t) noexcept;

/// Whether the text is longer than `limit` (at least 0) characters.
[[nodiscard]] SENTREL_API bool Str_lim(const char* s, std::int32_t limit) noexcept;

/// Whether the POSIX extended regular expression matches anywhere in the text; an empty text never matches. A pattern
/// that does not compile ends the process with an "AssertException" report; one of counted or nested repetitions may
/// take the platform's compiler time and memory without bound. Patterns from outside must be checked before.
[[nodiscard]] SENTREL_API bool Str_match(const char* pattern, const char* s) noexcept;

/// The 32-bit ELF hash of the text.
[[nodiscard]] SENTREL_API std::uint32_t Str_hash(const char* s) noexcept;

/// The order of two texts by their bytes, unsigned: negative, 0 or positive. 0 if either is missing.
[[nodiscard]] SENTREL_API std::int32_t Str_cmp(const char* a, const char* b) noexcept;

/// What follows the last "/", or the text itself.
[[nodiscard]] SENTREL_API const char* Str_basename(const char* path) noexcept;

/// Cuts the text after its last "/", which stays. A text without one becomes "."; the empty text has no room for that
/// and stays empty.
SENTREL_API char* Str_dirname(char* path) noexcept;

} // namespace sentrel
