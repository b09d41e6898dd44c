#include <SentrelKit/platform/linux/PropertyListLimits.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

namespace sentrel::platform {

namespace {

/// Unfolded size that is still accepted: bytes of content, plus a share for each node.
constexpr std::uint64_t unfoldedLimit = std::uint64_t{128} << 20;
constexpr std::uint64_t nodeShare = 64;

constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;

/// Measures the objects of a binary property list, each once, with everything they refer to.
class BinaryMeasure {
public:
    BinaryMeasure(std::span<const std::uint8_t> bytes, int depth) : bytes_(bytes), depthLimit_(depth) {}

    bool withinLimits() {
        if (bytes_.size() < headerSize + trailerSize)
            return false;
        const std::size_t trailer = bytes_.size() - trailerSize;
        offsetSize_ = bytes_[trailer + 6];
        referenceSize_ = bytes_[trailer + 7];
        const auto count = number(trailer + 8, 8);
        const auto top = number(trailer + 16, 8);
        const auto table = number(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8 || !count || !top || !table)
            return false;
        if (*table < headerSize || *table > trailer || *count == 0 || *count > (trailer - *table) / offsetSize_ ||
            *top >= *count)
            return false;
        table_ = static_cast<std::size_t>(*table);
        measures_.resize(static_cast<std::size_t>(*count));
        return measure(*top, 0).has_value();
    }

private:
    enum class State : std::uint8_t { unseen, open, done };
    struct Measure {
        std::uint64_t size = 0;
        int height = 0;
        State state = State::unseen;
    };

    /// A big-endian number of at most 8 bytes inside the file.
    [[nodiscard]] std::optional<std::uint64_t> number(std::uint64_t offset, std::size_t size) const {
        if (offset > bytes_.size() || size > bytes_.size() - offset)
            return std::nullopt;
        std::uint64_t value = 0;
        for (const std::uint8_t byte : bytes_.subspan(static_cast<std::size_t>(offset), size))
            value = value << 8 | byte;
        return value;
    }

    /// Size and height of an object; absent beyond the limits, for a cycle and for what lies outside the file.
    std::optional<Measure> measure(std::uint64_t index, int depth) {
        if (index >= measures_.size() || depth > depthLimit_)
            return std::nullopt;
        Measure& known = measures_[static_cast<std::size_t>(index)];
        if (known.state == State::open)
            return std::nullopt;
        if (known.state == State::done)
            return depth + known.height > depthLimit_ ? std::nullopt : std::optional(known);
        known.state = State::open;
        if (!measureObject(known, index, depth))
            return std::nullopt;
        known.state = State::done;
        return known;
    }

    bool measureObject(Measure& measured, std::uint64_t index, int depth) {
        const auto offset = number(table_ + index * offsetSize_, offsetSize_);
        if (!offset || *offset < headerSize || *offset >= table_)
            return false;
        const std::uint8_t marker = bytes_[static_cast<std::size_t>(*offset)];
        const std::uint8_t kind = marker >> 4;
        std::uint64_t content = *offset + 1;
        std::uint64_t length = marker & 0x0F;
        const bool counted = kind >= 0x4 && kind != 0x8;
        if (counted && length == 0x0F) {
            const auto lengthMarker = number(content, 1);
            if (!lengthMarker || *lengthMarker >> 4 != 0x1 || (*lengthMarker & 0x0F) > 3)
                return false;
            const std::size_t lengthSize = std::size_t{1} << (*lengthMarker & 0x0F);
            const auto longLength = number(content + 1, lengthSize);
            if (!longLength)
                return false;
            content += 1 + lengthSize;
            length = *longLength;
        }
        measured.size = nodeShare;
        switch (kind) {
        case 0x0: // null, booleans
        case 0x8: // references to archived objects
            return true;
        case 0x1: // integers and reals: a power of two of bytes
        case 0x2:
        case 0x3:
            return length <= 4 && content + (std::uint64_t{1} << length) <= table_;
        case 0x4: // bytes, ASCII text, UTF-16 text
        case 0x5:
        case 0x6: {
            const std::uint64_t unit = kind == 0x6 ? 2 : 1;
            measured.size += length * unit;
            return content <= table_ && length <= (table_ - content) / unit;
        }
        case 0xA: // list
            return measureChildren(measured, content, length, depth);
        case 0xD: // dictionary: as many keys, then values
            return length <= table_ && measureChildren(measured, content, length * 2, depth);
        default:
            return false;
        }
    }

    bool measureChildren(Measure& measured, std::uint64_t content, std::uint64_t count, int depth) {
        if (content > table_ || count > (table_ - content) / referenceSize_)
            return false;
        for (std::uint64_t i = 0; i < count; ++i) {
            const auto reference = number(content + i * referenceSize_, referenceSize_);
            const auto child = reference ? measure(*reference, depth + 1) : std::nullopt;
            if (!child)
                return false;
            measured.size += child->size;
            measured.height = std::max(measured.height, child->height + 1);
            if (measured.size > unfoldedLimit)
                return false;
        }
        return true;
    }

    std::span<const std::uint8_t> bytes_;
    int depthLimit_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::size_t table_ = 0;
    std::vector<Measure> measures_;
};

} // namespace

bool binaryPropertyListWithinLimits(std::span<const std::uint8_t> bytes, int depth) {
    return BinaryMeasure(bytes, depth).withinLimits();
}

bool xmlPropertyListWithinLimits(std::string_view text, int depth) noexcept {
    int nesting = 0;
    for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
        const std::string_view rest = text.substr(at);
        if (rest.starts_with("<!--")) {
            at = text.find("-->", at);
        } else if (rest.starts_with("<![CDATA[")) {
            at = text.find("]]>", at);
        } else if (rest.starts_with("</array") || rest.starts_with("</dict")) {
            --nesting;
        } else if (rest.starts_with("<array") || rest.starts_with("<dict")) {
            const std::size_t end = rest.find('>');
            const bool closesItself = end != std::string_view::npos && rest[end - 1] == '/';
            if (!closesItself && ++nesting > depth)
                return false;
        }
        if (at == std::string_view::npos)
            break;
    }
    return true;
}

} // namespace sentrel::platform
