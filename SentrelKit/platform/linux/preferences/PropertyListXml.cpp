// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListXml.h>

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/common/Owner.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <glib.h>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

using Value = std::optional<PropertyList>;

constexpr auto depthLimit = static_cast<std::size_t>(propertyListDepthLimit);

/// Decimal, or hexadecimal after 0x; with or without a sign.
Value integer(std::string_view digits) {
    const bool negative = digits.starts_with('-');
    if (negative || digits.starts_with('+'))
        digits.remove_prefix(1);
    const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    if (hexadecimal)
        digits.remove_prefix(2);
    const std::optional<std::uint64_t> value = toNumber(digits, hexadecimal ? 16 : 10);
    constexpr std::uint64_t mostNegative = std::uint64_t{1} << 63;
    if (!value || (negative && *value > mostNegative))
        return std::nullopt;
    return PropertyList(static_cast<std::int64_t>(negative ? 0 - *value : *value));
}

Value real(const std::string& digits) {
    char* end = nullptr;
    const double value = g_ascii_strtod(digits.c_str(), &end);
    return !digits.empty() && *end == '\0' ? Value(PropertyList(value)) : std::nullopt;
}

/// Like 2017-07-14T02:40:00Z, or with a fraction of the second. Years before 1, which GDateTime does not have, are in
/// use: the distant past of macOS is 0000-12-30.
Value date(std::string text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hours = 0;
    unsigned minutes = 0;
    unsigned seconds = 0;
    int used = 0;
    if (std::sscanf(text.c_str(), "%5d-%2u-%2uT%2u:%2u:%2u%n", &year, &month, &day, &hours, &minutes, &seconds,
                    &used) != 6)
        return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    char* rest = text.data() + used;
    const double fraction = *rest == '.' ? g_ascii_strtod(rest, &rest) : 0;
    const std::string_view zone = rest;
    if (!date.ok() || hours > 23 || minutes > 59 || seconds > 60 || fraction >= 1 || !(zone.empty() || zone == "Z"))
        return std::nullopt;
    const std::chrono::seconds moment = std::chrono::sys_days(date).time_since_epoch() + std::chrono::hours(hours) +
                                        std::chrono::minutes(minutes) + std::chrono::seconds(seconds);
    return PropertyList(PropertyList::Date{static_cast<double>(moment.count()) + fraction});
}

Value bytes(const std::string& base64) {
    constexpr std::string_view known = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \t\r\n";
    if (base64.find_first_not_of(known) != std::string::npos)
        return std::nullopt;
    std::size_t size = 0;
    const Owner<guchar, g_free> decoded(g_base64_decode(base64.c_str(), &size));
    return PropertyList(PropertyList::Bytes(decoded.get(), decoded.get() + size));
}

/// Builds the value out of what GLib's parser calls: elements that hold others are open, one that holds text is read.
class XmlReader {
public:
    Value read(std::string_view text) {
        constexpr GMarkupParser calls{&XmlReader::onStart, &XmlReader::onEnd, &XmlReader::onText, nullptr, nullptr};
        const Owner<GMarkupParseContext, g_markup_parse_context_free> context(
            g_markup_parse_context_new(&calls, G_MARKUP_TREAT_CDATA_AS_TEXT, this, nullptr));
        const bool complete =
            g_markup_parse_context_parse(context.get(), text.data(), static_cast<gssize>(text.size()), nullptr) &&
            g_markup_parse_context_end_parse(context.get(), nullptr);
        return complete ? std::move(whole_) : std::nullopt;
    }

private:
    /// A list or dictionary whose end is still to come.
    struct Open {
        PropertyList value;
        std::optional<std::string> key; ///< of the dictionary's next value
    };

    static void onStart(GMarkupParseContext*, const char* name, const char**, const char**, void* reader,
                        GError** error) {
        report(static_cast<XmlReader*>(reader)->start(name), error);
    }
    static void onEnd(GMarkupParseContext*, const char* name, void* reader, GError** error) {
        report(static_cast<XmlReader*>(reader)->end(name), error);
    }
    static void onText(GMarkupParseContext*, const char* text, gsize size, void* reader, GError** error) {
        report(static_cast<XmlReader*>(reader)->content({text, size}), error);
    }

    static void report(bool good, GError** error) {
        if (!good)
            g_set_error_literal(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "no property list");
    }

    bool start(std::string_view element) {
        if (inText_)
            return false;
        if (element == "plist")
            return open_.empty() && !whole_;
        if (element == "array")
            return open(PropertyList::List());
        if (element == "dict")
            return open(PropertyList::Dictionary());
        inText_ = true;
        text_.clear();
        return true;
    }

    bool end(std::string_view element) {
        if (!std::exchange(inText_, false))
            return element == "plist" || close();
        if (element == "key")
            return setKey();
        Value value = plainValue(element);
        return value && add(std::move(*value));
    }

    bool content(std::string_view text) {
        if (!inText_)
            return trimmed(text).empty();
        text_ += text;
        return true;
    }

    /// The value of an element that holds text; absent for an unknown element too.
    [[nodiscard]] Value plainValue(std::string_view element) {
        if (element == "string")
            return PropertyList(std::move(text_));
        if (element == "data")
            return bytes(text_);
        if (element == "integer")
            return integer(trimmed(text_));
        if (element == "real")
            return real(std::string(trimmed(text_)));
        if (element == "date")
            return date(std::string(trimmed(text_)));
        if ((element == "true" || element == "false") && trimmed(text_).empty())
            return PropertyList(element == "true");
        return std::nullopt;
    }

    bool open(PropertyList value) {
        open_.push_back({std::move(value), std::nullopt});
        return open_.size() <= depthLimit;
    }

    bool close() {
        if (open_.back().key)
            return false;
        PropertyList value = std::move(open_.back().value);
        open_.pop_back();
        return add(std::move(value));
    }

    bool setKey() {
        if (open_.empty() || !open_.back().value.as<PropertyList::Dictionary>() || open_.back().key)
            return false;
        open_.back().key = std::move(text_);
        return true;
    }

    bool add(PropertyList value) {
        if (open_.size() > depthLimit)
            return false;
        if (open_.empty()) {
            const bool isFirst = !whole_;
            whole_ = std::move(value);
            return isFirst;
        }
        Open& parent = open_.back();
        if (auto* list = parent.value.as<PropertyList::List>()) {
            list->push_back(std::move(value));
            return true;
        }
        if (!parent.key)
            return false;
        parent.value.as<PropertyList::Dictionary>()->insert_or_assign(std::move(*parent.key), std::move(value));
        parent.key.reset();
        return true;
    }

    std::vector<Open> open_;
    Value whole_;
    bool inText_ = false;
    std::string text_;
};

} // namespace

std::optional<PropertyList> parseXmlPropertyList(std::string_view text) {
    return XmlReader().read(text);
}

} // namespace sentrel::platform
