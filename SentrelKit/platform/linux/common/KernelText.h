// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The texts of the kernel's files and of those beside them: lines, words, numbers, escapes, paths. What takes
/// something off a text leaves the rest of it; only what gives a string takes memory.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sentrel::platform {

/// Blank, tab, and what ends lines and pages.
inline bool isBlank(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The text without the blanks around it.
inline std::string_view trimmed(std::string_view text) noexcept {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

/// Takes what stands before the separator, or all if there is none, off the text, and the separator with it.
inline std::string_view takeUpTo(std::string_view& text, char separator) noexcept {
    const std::size_t end = text.find(separator);
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return taken;
}

/// Takes the next line, without its end, off the text; the last one needs no end. Absent when the text is used up.
inline std::optional<std::string_view> takeLine(std::string_view& text) noexcept {
    if (text.empty())
        return std::nullopt;
    return takeUpTo(text, '\n');
}

/// Takes the next word off the text, and the blanks before it; empty when there is none.
inline std::string_view takeWord(std::string_view& text) noexcept {
    std::size_t begin = 0;
    while (begin < text.size() && isBlank(text[begin]))
        ++begin;
    std::size_t end = begin;
    while (end < text.size() && !isBlank(text[end]))
        ++end;
    const std::string_view word = text.substr(begin, end - begin);
    text.remove_prefix(end);
    return word;
}

/// The number that the whole text is; absent if it is none or does not fit.
template <class Integer = std::uint64_t>
std::optional<Integer> toNumber(std::string_view text, int base = 10) noexcept {
    Integer value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

/// Takes a decimal number, blanks and tabs before it included, off the text, whatever follows it. Absent, with the text
/// at the place that is none, when there is no number or it does not fit.
template <class Integer = std::uint64_t>
std::optional<Integer> takeNumber(std::string_view& text) noexcept {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    Integer value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

/// The content of a buffer that was filled from a file: a file that filled it to the brim may go on, so its last line
/// is taken only with its end.
inline std::string_view wholeLines(std::string_view content, std::size_t bufferSize) noexcept {
    if (content.size() < bufferSize)
        return content;
    return content.substr(0, content.rfind('\n') + 1);
}

/// The text with what udev and systemd escaped put back: "\x2d" is "-". What is no escape stays.
[[nodiscard]] std::string withoutHexEscapes(std::string_view text);

/// The last part of a path, empty if it ends in a slash.
inline std::string_view lastPathComponent(std::string_view path) noexcept {
    return path.substr(path.rfind('/') + 1);
}

/// The folder that a path lies in; "/" where only the root is above it.
inline std::string parentFolder(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string_view::npos ? "/" : std::string(path.substr(0, slash));
}

/// Whether the path is that folder, which has no slash at its end, or lies in it, judged by the text alone.
inline bool liesWithin(std::string_view path, std::string_view folder) noexcept {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace sentrel::platform
