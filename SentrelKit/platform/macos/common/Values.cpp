// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/common/Values.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

PropertyList numberOf(CFNumberRef number) {
    if (CFNumberIsFloatType(number)) {
        double value = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &value);
        return value;
    }
    std::int64_t value = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &value);
    return value;
}

PropertyList::Bytes bytesOf(CFDataRef data) {
    const std::uint8_t* const first = CFDataGetBytePtr(data);
    return {first, first + CFDataGetLength(data)};
}

PropertyList::List listOf(CFArrayRef array) {
    PropertyList::List list;
    const CFIndex count = CFArrayGetCount(array);
    list.reserve(static_cast<std::size_t>(count));
    for (CFIndex index = 0; index < count; ++index) {
        PropertyList item = propertyListOf(CFArrayGetValueAtIndex(array, index));
        if (!item.empty())
            list.push_back(std::move(item));
    }
    return list;
}

// What a collection is made of: its references, kept until it holds them itself.
class Contents {
public:
    [[nodiscard]] bool add(CFOwner<CFTypeRef> value) {
        pointers_.push_back(value.get());
        owners_.push_back(std::move(value));
        return pointers_.back() != nullptr;
    }
    [[nodiscard]] const void** pointers() noexcept { return pointers_.data(); }
    [[nodiscard]] CFIndex count() const noexcept { return static_cast<CFIndex>(pointers_.size()); }

private:
    std::vector<CFOwner<CFTypeRef>> owners_;
    std::vector<const void*> pointers_;
};

struct Creation {
    using Created = CFOwner<CFTypeRef>;

    Created operator()(bool value) const { return Created::retained(value ? kCFBooleanTrue : kCFBooleanFalse); }
    Created operator()(std::int64_t value) const {
        return Created(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value));
    }
    Created operator()(double value) const {
        return Created(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
    }
    Created operator()(const std::string& text) const { return Created(cfString(text).release()); }
    Created operator()(const PropertyList::Bytes& bytes) const {
        return Created(CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    }
    Created operator()(PropertyList::Date date) const {
        return Created(CFDateCreate(kCFAllocatorDefault, date.seconds - kCFAbsoluteTimeIntervalSince1970));
    }
    Created operator()(const PropertyList::Address& address) const {
        const CFOwner<CFStringRef> text = cfString(address.text);
        return Created(text ? CFURLCreateWithString(kCFAllocatorDefault, text.get(), nullptr) : nullptr);
    }
    Created operator()(const PropertyList::List& list) const {
        Contents items;
        for (const PropertyList& item : list) {
            if (!items.add(cfValue(item)))
                return {};
        }
        return Created(CFArrayCreate(kCFAllocatorDefault, items.pointers(), items.count(), &kCFTypeArrayCallBacks));
    }
    Created operator()(const PropertyList::Dictionary& dictionary) const {
        Contents keys;
        Contents values;
        for (const auto& [key, value] : dictionary) {
            if (!keys.add((*this)(key)) || !values.add(cfValue(value)))
                return {};
        }
        return Created(CFDictionaryCreate(kCFAllocatorDefault, keys.pointers(), values.pointers(), keys.count(),
                                          &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    }
};

template <class Kind>
bool create(const PropertyList& value, CFOwner<CFTypeRef>& created) {
    const Kind* const content = value.as<Kind>();
    if (content)
        created = Creation()(*content);
    return content != nullptr;
}

template <class... Kinds>
CFOwner<CFTypeRef> createAs(const PropertyList& value) {
    CFOwner<CFTypeRef> created;
    static_cast<void>((create<Kinds>(value, created) || ...));
    return created;
}

} // namespace

CFOwner<CFTypeRef> cfValue(const PropertyList& value) {
    return createAs<bool, std::int64_t, double, std::string, PropertyList::Bytes, PropertyList::Date,
                    PropertyList::Address, PropertyList::List, PropertyList::Dictionary>(value);
}

CFOwner<CFStringRef> cfString(std::string_view text) {
    return CFOwner(CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                           static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

std::optional<std::string> textOf(CFTypeRef value) {
    const auto string = cfCast<CFStringRef>(value, CFStringGetTypeID());
    if (!string)
        return std::nullopt;
    const CFRange whole = CFRangeMake(0, CFStringGetLength(string));
    CFIndex size = 0;
    CFStringGetBytes(string, whole, kCFStringEncodingUTF8, '?', false, nullptr, 0, &size);
    std::string text(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(string, whole, kCFStringEncodingUTF8, '?', false, reinterpret_cast<UInt8*>(text.data()), size,
                     nullptr);
    return text;
}

PropertyList propertyListOf(CFTypeRef value) {
    if (!value)
        return {};
    if (std::optional<std::string> text = textOf(value))
        return std::move(*text);
    if (const auto boolean = cfCast<CFBooleanRef>(value, CFBooleanGetTypeID()))
        return static_cast<bool>(CFBooleanGetValue(boolean));
    if (const auto number = cfCast<CFNumberRef>(value, CFNumberGetTypeID()))
        return numberOf(number);
    if (const auto data = cfCast<CFDataRef>(value, CFDataGetTypeID()))
        return bytesOf(data);
    if (const auto date = cfCast<CFDateRef>(value, CFDateGetTypeID()))
        return PropertyList::Date{CFDateGetAbsoluteTime(date) + kCFAbsoluteTimeIntervalSince1970};
    if (const auto url = cfCast<CFURLRef>(value, CFURLGetTypeID())) {
        const CFOwner absolute(CFURLCopyAbsoluteURL(url));
        if (!absolute)
            return {};
        return PropertyList::Address{textOf(CFURLGetString(absolute.get())).value_or(std::string())};
    }
    if (const auto array = cfCast<CFArrayRef>(value, CFArrayGetTypeID()))
        return listOf(array);
    if (CFGetTypeID(value) == CFDictionaryGetTypeID())
        return dictionaryOf(value);
    return {};
}

PropertyList::Dictionary dictionaryOf(CFTypeRef value) {
    PropertyList::Dictionary entries;
    const auto dictionary = cfCast<CFDictionaryRef>(value, CFDictionaryGetTypeID());
    if (!dictionary)
        return entries;
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    for (std::size_t index = 0; index < count; ++index) {
        std::optional<std::string> key = textOf(keys[index]);
        PropertyList entry = propertyListOf(values[index]);
        if (key && !entry.empty())
            entries.insert_or_assign(std::move(*key), std::move(entry));
    }
    return entries;
}

} // namespace sentrel::platform
