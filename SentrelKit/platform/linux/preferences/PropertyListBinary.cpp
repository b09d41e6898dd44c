// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListBinary.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <glib.h>
#include <string>
#include <utility>

namespace sentrel::platform {

namespace {

/// The file is the magic, the objects, the table of their offsets and a trailer that says where things are. Objects
/// refer to each other by their place in the table; all numbers are big-endian.
constexpr std::size_t trailerSize = 32;

/// What a file may unfold to: bytes of content and a share for each value.
constexpr std::uint64_t unfoldedLimit = std::uint64_t{128} << 20;
constexpr std::uint64_t valueShare = 64;
constexpr std::uint64_t spelledReferenceShare = 192;

class BinaryReader {
public:
    BinaryReader(std::span<const std::uint8_t> bytes, ArchiveReferences references)
        : bytes_(bytes), references_(references) {}

    std::optional<PropertyList> read() {
        if (bytes_.size() < binaryPropertyListMagic.size() + trailerSize)
            return std::nullopt;
        const auto trailer = bytes_.last(trailerSize);
        offsetSize_ = trailer[6];
        referenceSize_ = trailer[7];
        const std::uint64_t count = number(trailer.subspan(8, 8));
        const std::uint64_t top = number(trailer.subspan(16, 8));
        const std::uint64_t table = number(trailer.subspan(24, 8));
        const std::uint64_t end = bytes_.size() - trailerSize;
        if (!isNumberSize(offsetSize_) || !isNumberSize(referenceSize_) || table > end ||
            count > (end - table) / offsetSize_)
            return std::nullopt;
        objects_ = bytes_.first(static_cast<std::size_t>(table));
        offsets_ = bytes_.subspan(objects_.size(), static_cast<std::size_t>(count * offsetSize_));
        return object(top, 0);
    }

private:
    using Value = std::optional<PropertyList>;
    using Content = std::span<const std::uint8_t>;

    static bool isNumberSize(std::size_t size) noexcept { return size >= 1 && size <= 8; }

    static std::uint64_t number(Content bytes) noexcept {
        std::uint64_t value = 0;
        for (const std::uint8_t byte : bytes)
            value = value << 8 | byte;
        return value;
    }

    /// Takes the next bytes of the object that is read; absent beyond the objects.
    std::optional<Content> take(std::size_t& at, std::uint64_t size) const noexcept {
        if (size > objects_.size() - at)
            return std::nullopt;
        const Content content = objects_.subspan(at, static_cast<std::size_t>(size));
        at += content.size();
        return content;
    }

    std::optional<std::uint64_t> takeNumber(std::size_t& at, std::size_t size) const noexcept {
        const auto content = take(at, size);
        return content ? std::optional(number(*content)) : std::nullopt;
    }

    /// Takes a number of elements: in the marker, or in an integer after it.
    std::optional<std::uint64_t> takeCount(std::size_t& at, std::uint8_t low) const noexcept {
        if (low != 0xF)
            return low;
        const auto marker = takeNumber(at, 1);
        if (!marker || *marker >> 4 != 0x1 || (*marker & 0xF) > 3)
            return std::nullopt;
        return takeNumber(at, std::size_t{1} << (*marker & 0xF));
    }

    bool spend(std::uint64_t size) noexcept {
        if (size > left_)
            return false;
        left_ -= size;
        return true;
    }

    Value object(std::uint64_t index, int depth) {
        if (index >= offsets_.size() / offsetSize_ || depth > propertyListDepthLimit)
            return std::nullopt;
        const std::uint64_t offset =
            number(offsets_.subspan(static_cast<std::size_t>(index) * offsetSize_, offsetSize_));
        if (offset < binaryPropertyListMagic.size() || offset >= objects_.size())
            return std::nullopt;
        auto at = static_cast<std::size_t>(offset);
        const std::uint8_t marker = objects_[at++];
        const std::uint8_t low = marker & 0xF;
        switch (marker >> 4) {
        case 0x0:
            return low == 0x8 || low == 0x9 ? Value(PropertyList(low == 0x9)) : std::nullopt;
        case 0x1:
            return integer(at, low);
        case 0x2:
            return real(at, low);
        case 0x3:
            return date(at, low);
        case 0x4:
            return data(at, low);
        case 0x5:
            return plainText(at, low);
        case 0x6:
            return wideText(at, low);
        case 0x8:
            return reference(at, low);
        case 0xA:
            return list(at, low, depth);
        case 0xD:
            return dictionary(at, low, depth);
        default:
            return std::nullopt;
        }
    }

    /// Of 1, 2 or 4 bytes without a sign, of 8 with one. Writers use 16 for what does not fit.
    [[nodiscard]] Value integer(std::size_t at, std::uint8_t low) const {
        const auto content = low <= 4 ? take(at, std::uint64_t{1} << low) : std::nullopt;
        if (!content)
            return std::nullopt;
        return PropertyList(
            static_cast<std::int64_t>(number(content->last(std::min<std::size_t>(content->size(), 8)))));
    }

    [[nodiscard]] Value real(std::size_t at, std::uint8_t low) const {
        if (low != 2 && low != 3)
            return std::nullopt;
        const auto bits = takeNumber(at, std::size_t{1} << low);
        if (!bits)
            return std::nullopt;
        return PropertyList(low == 3 ? std::bit_cast<double>(*bits)
                                     : std::bit_cast<float>(static_cast<std::uint32_t>(*bits)));
    }

    [[nodiscard]] Value date(std::size_t at, std::uint8_t low) const {
        const auto bits = low == 3 ? takeNumber(at, 8) : std::nullopt;
        return bits ? Value(PropertyList(PropertyList::Date{std::bit_cast<double>(*bits) + propertyListEpoch}))
                    : std::nullopt;
    }

    /// Takes counted content, whose elements have so many bytes, and pays for it.
    std::optional<Content> takeCounted(std::size_t at, std::uint8_t low, std::uint64_t elementSize) {
        const auto count = takeCount(at, low);
        const auto content = count && *count <= objects_.size() ? take(at, *count * elementSize) : std::nullopt;
        return content && spend(content->size()) ? content : std::nullopt;
    }

    Value data(std::size_t at, std::uint8_t low) {
        const auto content = takeCounted(at, low, 1);
        return content ? Value(PropertyList(PropertyList::Bytes(content->begin(), content->end()))) : std::nullopt;
    }

    Value plainText(std::size_t at, std::uint8_t low) {
        const auto content = takeCounted(at, low, 1);
        if (!content || std::any_of(content->begin(), content->end(), [](std::uint8_t byte) { return byte > 0x7F; }))
            return std::nullopt;
        return PropertyList(std::string(reinterpret_cast<const char*>(content->data()), content->size()));
    }

    Value wideText(std::size_t at, std::uint8_t low) {
        const auto content = takeCounted(at, low, 2);
        if (!content)
            return std::nullopt;
        std::string text;
        for (std::size_t i = 0; i < content->size(); i += 2) {
            auto codePoint = static_cast<gunichar>(number(content->subspan(i, 2)));
            if (isSurrogate(codePoint, 0xD800) && i + 2 < content->size()) {
                const auto second = static_cast<gunichar>(number(content->subspan(i + 2, 2)));
                if (isSurrogate(second, 0xDC00)) {
                    codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (second - 0xDC00);
                    i += 2;
                }
            }
            if (codePoint >= 0xD800 && codePoint <= 0xDFFF)
                codePoint = 0xFFFD;
            std::array<char, 6> utf8{};
            text.append(utf8.data(), static_cast<std::size_t>(g_unichar_to_utf8(codePoint, utf8.data())));
        }
        return PropertyList(std::move(text));
    }

    /// Whether a unit of UTF-16 is among the 1,024 surrogates from the first one on.
    static bool isSurrogate(gunichar unit, gunichar first) noexcept { return unit >= first && unit < first + 0x400; }

    Value reference(std::size_t at, std::uint8_t low) {
        const auto place = low < 8 ? takeNumber(at, low + std::size_t{1}) : std::nullopt;
        if (!place || references_ == ArchiveReferences::refuse || !spend(spelledReferenceShare))
            return std::nullopt;
        return PropertyList(
            PropertyList::Dictionary{{archiveReferenceKey, PropertyList(static_cast<std::int64_t>(*place))}});
    }

    /// Takes references to other objects and pays for what they stand for.
    std::optional<Content> takeReferences(std::size_t& at, std::uint64_t count) {
        const auto content = count <= objects_.size() ? take(at, count * referenceSize_) : std::nullopt;
        return content && spend(count * valueShare) ? content : std::nullopt;
    }

    Value referred(Content references, std::size_t place, int depth) {
        return object(number(references.subspan(place * referenceSize_, referenceSize_)), depth + 1);
    }

    Value list(std::size_t at, std::uint8_t low, int depth) {
        const auto count = takeCount(at, low);
        const auto items = count ? takeReferences(at, *count) : std::nullopt;
        if (!items)
            return std::nullopt;
        PropertyList::List list;
        list.reserve(static_cast<std::size_t>(*count));
        for (std::size_t place = 0; place < *count; ++place) {
            Value item = referred(*items, place, depth);
            if (!item)
                return std::nullopt;
            list.push_back(std::move(*item));
        }
        return std::make_optional<PropertyList>(std::move(list));
    }

    /// As many keys, which are texts, as values after them.
    Value dictionary(std::size_t at, std::uint8_t low, int depth) {
        const auto count = takeCount(at, low);
        const auto keys = count ? takeReferences(at, *count) : std::nullopt;
        const auto items = keys ? takeReferences(at, *count) : std::nullopt;
        if (!items)
            return std::nullopt;
        PropertyList::Dictionary entries;
        for (std::size_t place = 0; place < *count; ++place) {
            // One failure ends the whole: going on to the value would double the work at every level.
            Value key = referred(*keys, place, depth);
            auto* text = key ? key->as<std::string>() : nullptr;
            Value item = text ? referred(*items, place, depth) : std::nullopt;
            if (!item)
                return std::nullopt;
            entries.insert_or_assign(std::move(*text), std::move(*item));
        }
        return std::make_optional<PropertyList>(std::move(entries));
    }

    const Content bytes_;
    const ArchiveReferences references_;
    Content objects_; ///< from the start of the file, so that offsets count in it
    Content offsets_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t left_ = unfoldedLimit;
};

} // namespace

std::optional<PropertyList> parseBinaryPropertyList(std::span<const std::uint8_t> bytes, ArchiveReferences references) {
    return BinaryReader(bytes, references).read();
}

} // namespace sentrel::platform
