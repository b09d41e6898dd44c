// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Walking the text files of /proc and /sys by hand: no locale, no allocation.

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sentrel::platform {

inline void skipBlanks(std::string_view& text) noexcept {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
}

/// Takes the next line, without its end, off the text; the last one needs no end. Absent when the text is used up.
inline std::optional<std::string_view> takeLine(std::string_view& text) noexcept {
    if (text.empty())
        return std::nullopt;
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

/// Takes a decimal number, blanks before it included, off the text. Absent, with the text at the place that is none,
/// when there is no number or it does not fit.
template <class Integer = std::uint64_t>
std::optional<Integer> takeNumber(std::string_view& text) noexcept {
    skipBlanks(text);
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

} // namespace sentrel::platform
