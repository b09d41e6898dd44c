// SPDX-License-Identifier: Apache-2.0
#include "tools/terminal/TextWidth.h"

#include "tools/terminal/Utf8.h"

#include <cwchar>
#include <langinfo.h>
#include <locale.h>
#if __has_include(<xlocale.h>) // where the C library keeps the locales of threads apart
#include <xlocale.h>
#endif

namespace terminal {

namespace {

// wcwidth answers for the locale of the thread: this one knows every character, whatever the program's is.
class UnicodeLocale {
public:
    UnicodeLocale() : before_(uselocale(unicode())) {}
    ~UnicodeLocale() { uselocale(before_); }
    UnicodeLocale(const UnicodeLocale&) = delete;
    UnicodeLocale& operator=(const UnicodeLocale&) = delete;

private:
    static locale_t unicode() {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr); // kept until the end
        return locale;
    }

    const locale_t before_;
};

// Columns of a character; one for what is not known.
std::size_t columnsOf(char32_t character) {
    if (character < 0x80)
        return 1;
    const int columns = wcwidth(static_cast<wchar_t>(character));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

// The bytes at the beginning of a text that fit in so many columns, and the columns that they take.
struct Beginning {
    std::size_t bytes = 0;
    std::size_t columns = 0;
};

Beginning beginningOf(std::string_view text, std::size_t columns) {
    const UnicodeLocale locale;
    Beginning beginning;
    while (beginning.bytes < text.size()) {
        const Decoded next = decode(text.substr(beginning.bytes));
        const std::size_t wide = columnsOf(next.character);
        if (wide > columns - beginning.columns)
            break;
        beginning.columns += wide;
        beginning.bytes += next.size;
    }
    return beginning;
}

} // namespace

std::size_t columnsOf(std::string_view text) {
    return beginningOf(text, static_cast<std::size_t>(-1)).columns;
}

std::string fitted(std::string_view text, std::size_t columns, bool isUnicode) {
    Beginning beginning = beginningOf(text, columns);
    const bool isWhole = beginning.bytes == text.size();
    if (!isWhole && columns > 0)
        beginning = beginningOf(text, columns - 1);
    std::string result(text.substr(0, beginning.bytes));
    if (!isWhole && columns > 0) {
        result += isUnicode ? "…" : "~";
        ++beginning.columns;
    }
    return result.append(columns - beginning.columns, ' ');
}

std::string asciiText(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Decoded next = decode(text);
        result += next.size == 1 && next.character != 0 ? text[0] : '?';
        text.remove_prefix(next.size);
    }
    return result;
}

bool isUnicodeLocale() {
    return std::string_view(nl_langinfo(CODESET)) == "UTF-8";
}

} // namespace terminal
