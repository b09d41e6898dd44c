// SPDX-License-Identifier: Apache-2.0
#include "tools/terminal/TerminalText.h"

#include <gtest/gtest.h>

namespace terminal {
namespace {

// A process name is whatever its program chose: an escape sequence in it set the terminal's title, moved the cursor or
// turned the rest of the report around.
TEST(PlainText, ShowsAQuestionMarkForWhatATerminalObeysOrCannotRead) {
    const struct {
        const char* what;
        std::string_view text;
        std::string_view shown;
    } cases[] = {
        {"nothing", "", ""},
        {"plain", "kworker/0:1 (idle) ~100%", "kworker/0:1 (idle) ~100%"},
        {"two, three and four bytes", "Müller … 家 🎵", "Müller … 家 🎵"},
        {"the title of the window", "\x1b]0;owned\x07", "?]0;owned?"},
        {"colours and the cursor", "a\x1b[31mb\x1b[2J", "a?[31mb?[2J"},
        {"another line", "one\ntwo\r\tthree\x7f", "one?two??three?"},
        {"a zero byte", std::string_view("a\0b", 3), "a?b"},
        {"the control sequence of 8 bits",
         "a\xC2\x9B"
         "31m",
         "a?31m"},
        {"the same without its UTF-8",
         "a\x9B"
         "31m",
         "a?31m"},
        {"the first and the last of those", "\xC2\x80|\xC2\x9F|\xC2\xA0", "?|?|\xC2\xA0"},
        {"writing that is turned around", "evil\xE2\x80\xAEgpj.exe\xE2\x80\xAC", "evil?gpj.exe?"},
        {"isolates and marks", "\xE2\x81\xA6|\xE2\x81\xA9|\xE2\x80\x8E|\xE2\x80\x8F|\xD8\x9C", "?|?|?|?|?"},
        {"separators of lines and paragraphs", "\xE2\x80\xA8|\xE2\x80\xA9", "?|?"},
        {"a character cut off", "caf\xC3", "caf?"},
        {"three bytes cut off", "\xE2\x80", "??"},
        {"too long a form of escape", "\xC0\x9B|\xE0\x80\x9B", "??|???"},
        {"a surrogate", "\xED\xA0\x80", "???"},
        {"beyond the last character", "\xF4\x90\x80\x80|\xFF", "????|?"},
    };
    for (const auto& [what, text, shown] : cases)
        EXPECT_EQ(plainText(text), shown) << what;
}

} // namespace
} // namespace terminal
