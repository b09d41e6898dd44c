#include <SentrelKit/platform/linux/PropertyListFormat.h>

#include <SentrelKit/platform/linux/PropertyListNode.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace sentrel::platform {

namespace {

bool isBlank(char character) noexcept {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

int digitValue(char character, int base) noexcept {
    int value = base;
    if (character >= '0' && character <= '9')
        value = character - '0';
    else if (character >= 'a' && character <= 'f')
        value = character - 'a' + 10;
    else if (character >= 'A' && character <= 'F')
        value = character - 'A' + 10;
    return value < base ? value : -1;
}

void appendUtf8(std::string& text, std::uint32_t codePoint) {
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += static_cast<char>(0xC0 | codePoint >> 6);
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0 | codePoint >> 12);
        text += static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | codePoint >> 18);
        text += static_cast<char>(0x80 | (codePoint >> 12 & 0x3F));
        text += static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

class OldNotation {
public:
    explicit OldNotation(std::string_view text) : text_(text) {}

    std::optional<PropertyList> parse() {
        auto value = whole();
        skipBlanks();
        return value && at_ == text_.size() ? value : std::nullopt;
    }

private:
    using Value = std::optional<PropertyList>;

    Value whole() {
        skipBlanks();
        if (peek() == '{' || peek() == '(' || peek() == '<')
            return value(0);
        return entries(0, '\0'); // a strings file is a dictionary without its braces
    }

    Value value(int depth) {
        skipBlanks();
        if (depth > propertyListDepthLimit)
            return std::nullopt;
        switch (peek()) {
        case '{':
            ++at_;
            return entries(depth, '}');
        case '(':
            ++at_;
            return list(depth);
        case '<':
            ++at_;
            return bytes();
        default:
            break;
        }
        auto plain = text();
        return plain ? Value(PropertyList(std::move(*plain))) : std::nullopt;
    }

    /// `key = value;` up to the closing character; `key;` stands for `key = key;`.
    Value entries(int depth, char close) {
        PropertyList::Dictionary entries;
        for (skipBlanks(); peek() != close; skipBlanks()) {
            const auto key = text();
            if (!key)
                return std::nullopt;
            Value item = PropertyList(*key);
            if (skip('='))
                item = value(depth + 1);
            if (!item || !(skip(';') || (close != '\0' && peek() == close)))
                return std::nullopt;
            entries.insert_or_assign(*key, std::move(*item));
        }
        if (close != '\0')
            ++at_;
        return std::make_optional<PropertyList>(std::move(entries));
    }

    Value list(int depth) {
        PropertyList::List list;
        while (!skip(')')) {
            Value item = value(depth + 1);
            if (!item)
                return std::nullopt;
            list.push_back(std::move(*item));
            if (!skip(',') && peek() != ')')
                return std::nullopt;
        }
        return std::make_optional<PropertyList>(std::move(list));
    }

    Value bytes() {
        PropertyList::Bytes bytes;
        while (!skip('>')) {
            const int high = hexDigit();
            const int low = high < 0 ? -1 : hexDigit();
            if (low < 0)
                return std::nullopt;
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
        }
        return PropertyList(std::move(bytes));
    }

    int hexDigit() {
        skipBlanks();
        const int digit = digitValue(peek(), 16);
        if (digit >= 0)
            ++at_;
        return digit;
    }

    std::optional<std::string> text() {
        skipBlanks();
        if (peek() == '"' || peek() == '\'')
            return quotedText(text_[at_++]);
        const std::size_t start = at_;
        while (isBare(peek()))
            ++at_;
        if (at_ == start)
            return std::nullopt;
        return std::string(text_.substr(start, at_ - start));
    }

    std::optional<std::string> quotedText(char quote) {
        std::string text;
        while (at_ < text_.size()) {
            const char character = text_[at_++];
            if (character == quote)
                return isPropertyListText(text) ? std::optional(std::move(text)) : std::nullopt;
            if (character != '\\')
                text += character;
            else if (at_ < text_.size())
                appendEscaped(text);
        }
        return std::nullopt;
    }

    /// \n and the like, \101 in octal, \U00e9 in UTF-16 units; any other character stands for itself.
    void appendEscaped(std::string& text) {
        constexpr std::string_view names = "abfnrtv";
        constexpr std::string_view meanings = "\a\b\f\n\r\t\v";
        const char character = text_[at_];
        if (digitValue(character, 8) >= 0) {
            appendUtf8(text, number(8, 3));
            return;
        }
        ++at_;
        if (character == 'U') {
            appendUtf8(text, codePoint());
        } else {
            const std::size_t name = names.find(character);
            text += name == std::string_view::npos ? character : meanings[name];
        }
    }

    std::uint32_t codePoint() {
        const std::uint32_t unit = number(16, 4);
        if (unit < 0xD800 || unit > 0xDBFF || text_.substr(at_, 2) != "\\U")
            return unit;
        at_ += 2;
        return 0x10000 + ((unit - 0xD800) << 10) + ((number(16, 4) - 0xDC00) & 0x3FF);
    }

    std::uint32_t number(int base, int digits) {
        std::uint32_t value = 0;
        for (; digits > 0 && digitValue(peek(), base) >= 0; --digits, ++at_)
            value = value * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(digitValue(peek(), base));
        return value;
    }

    static bool isBare(char character) noexcept {
        const bool letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
        return letter || digitValue(character, 10) >= 0 ||
               std::string_view("_$/:.-+").find(character) != std::string_view::npos;
    }

    void skipBlanks() {
        while (at_ < text_.size()) {
            if (isBlank(text_[at_]))
                ++at_;
            else if (text_.substr(at_, 2) == "//")
                at_ = std::min(text_.find('\n', at_), text_.size());
            else if (text_.substr(at_, 2) == "/*" && text_.find("*/", at_ + 2) != std::string_view::npos)
                at_ = text_.find("*/", at_ + 2) + 2;
            else
                return;
        }
    }

    bool skip(char character) {
        skipBlanks();
        const bool found = peek() == character && at_ < text_.size();
        at_ += found ? 1 : 0;
        return found;
    }

    /// The next character, or a zero at the end.
    [[nodiscard]] char peek() const noexcept { return at_ < text_.size() ? text_[at_] : '\0'; }

    std::string_view text_;
    std::size_t at_ = 0;
};

} // namespace

std::optional<PropertyList> parseOldPropertyList(std::string_view text) {
    return OldNotation(text).parse();
}

std::optional<PropertyList> decodePropertyList(std::span<const std::uint8_t> bytes) {
    if (const PropertyListNode node = parsePropertyListNode(bytes))
        return propertyListFromNode(node.get());
    return parseOldPropertyList({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::optional<PropertyList::Bytes> encodePropertyList(const PropertyList& value) {
    const PropertyListNode node = makePropertyListNode(value);
    return node ? binaryPropertyList(node.get()) : std::nullopt;
}

} // namespace sentrel::platform
