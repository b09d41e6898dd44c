// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Objects.h"

#include <array>
#include <cstring>
#include <glib.h>
#include <map>
#include <mutex>
#include <utility>
#include <variant>
#include <vector>

using sentrel::PropertyList;

namespace darwin {

namespace {

struct Number {
    std::variant<std::int64_t, double> value;
};
struct Url {
    CFTypeRef text;
};
struct Date {
    CFAbsoluteTime seconds;
};
struct Other {
    std::function<void(CFTypeRef)> ended{};
};
struct LoopSource {
    void (*call)(void*);
    void* context;
};
using List = std::vector<CFTypeRef>;
using Dictionary = std::vector<std::pair<CFTypeRef, CFTypeRef>>;

// What stands behind a reference. An object's kind is the place of its value among these, counted from 1.
struct Object {
    std::variant<std::string, bool, Number, PropertyList::Bytes, Date, Url, List, Dictionary, Other, LoopSource> value;
    bool isConstant = false;
};

constexpr const char* objects = "object";

CFTypeRef add(Object object) {
    const auto* const reference = new Object(std::move(object));
    ledger::take(objects, reinterpret_cast<std::uintptr_t>(reference));
    return reference;
}

const Object& at(CFTypeRef reference) {
    const auto& object = *static_cast<const Object*>(reference);
    if (!object.isConstant)
        ledger::use(objects, reinterpret_cast<std::uintptr_t>(reference));
    return object;
}

template <class Value>
const Value& valueOf(CFTypeRef reference) {
    return std::get<Value>(at(reference).value);
}

template <class Value>
CFTypeID kindOf() {
    return Object{Value{}}.value.index() + 1;
}

// The references that an object holds end with it.
struct Release {
    void operator()(const Url& url) const { CFRelease(url.text); }
    void operator()(const List& list) const {
        for (const CFTypeRef item : list)
            CFRelease(item);
    }
    void operator()(const Dictionary& dictionary) const {
        for (const auto& [key, value] : dictionary) {
            CFRelease(key);
            CFRelease(value);
        }
    }
    template <class Value>
    void operator()(const Value&) const {}
};

} // namespace

CFTypeRef created(const PropertyList& value) {
    if (const auto* text = value.as<std::string>())
        return add({*text});
    if (const auto* boolean = value.as<bool>())
        return add({*boolean});
    if (const auto* integer = value.as<std::int64_t>())
        return add({Number{*integer}});
    if (const auto* real = value.as<double>())
        return add({Number{*real}});
    if (const auto* bytes = value.as<PropertyList::Bytes>())
        return add({*bytes});
    if (const auto* date = value.as<PropertyList::Date>())
        return add({Date{date->seconds - kCFAbsoluteTimeIntervalSince1970}});
    if (const auto* address = value.as<PropertyList::Address>())
        return add({Url{add({address->text})}});
    if (const auto* items = value.as<PropertyList::List>()) {
        List list;
        for (const PropertyList& item : *items)
            list.push_back(created(item));
        return add({std::move(list)});
    }
    if (const auto* entries = value.as<PropertyList::Dictionary>()) {
        Dictionary dictionary;
        for (const auto& [key, entry] : *entries)
            dictionary.emplace_back(add({key}), created(entry));
        return add({std::move(dictionary)});
    }
    return createdOther();
}

CFTypeRef createdOther() {
    return add({Other{}});
}

CFTypeRef createdWithEnd(std::function<void(CFTypeRef)> ended) {
    return add({Other{std::move(ended)}});
}

CFTypeRef createdWithOddKey(const std::string& key, const PropertyList& value) {
    return add({Dictionary{{add({key}), created(value)}, {add({Number{std::int64_t{1}}}), created(value)}}});
}

CFTypeRef createdSource(void (*call)(void*), void* context) {
    return add({LoopSource{call, context}});
}

namespace {

// The sources of all run loops.
struct Loops {
    std::mutex lock;
    std::vector<CFTypeRef> sources;
};

Loops& loops() {
    static Loops& instance = *new Loops;
    return instance;
}

} // namespace

int loopSources() {
    const std::lock_guard guard(loops().lock);
    return static_cast<int>(loops().sources.size());
}

void signalSources() {
    // The loop is about to call all of them, one that is invalidated meanwhile too.
    std::vector<LoopSource> due;
    {
        const std::lock_guard guard(loops().lock);
        for (const CFTypeRef source : loops().sources)
            due.push_back(valueOf<LoopSource>(source));
    }
    for (const auto& [call, context] : due)
        call(context);
}

std::string text(CFTypeRef string) {
    return valueOf<std::string>(string);
}

} // namespace darwin

using namespace darwin;

CFStringRef constantString(const char* text) {
    static std::mutex lock;
    static std::map<std::string, const Object*>& constants = *new std::map<std::string, const Object*>;
    const std::lock_guard guard(lock);
    const Object*& constant = constants[text];
    if (!constant)
        constant = new Object{.value = std::string(text), .isConstant = true};
    return reinterpret_cast<CFStringRef>(constant);
}

extern "C" {

static const Object trueObject{.value = true, .isConstant = true};
static const Object falseObject{.value = false, .isConstant = true};
const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(&trueObject);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(&falseObject);
const CFArrayCallBacks kCFTypeArrayCallBacks{};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};
const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;

CFTypeRef CFRetain(CFTypeRef cf) {
    if (!at(cf).isConstant)
        ledger::take(objects, reinterpret_cast<std::uintptr_t>(cf));
    return cf;
}

void CFRelease(CFTypeRef cf) {
    const auto* const object = static_cast<const Object*>(cf);
    if (object->isConstant || !ledger::give(objects, reinterpret_cast<std::uintptr_t>(cf)))
        return;
    if (const auto* other = std::get_if<Other>(&object->value); other && other->ended)
        other->ended(cf);
    std::visit(Release{}, object->value);
    delete object;
}

CFTypeID CFGetTypeID(CFTypeRef cf) {
    return at(cf).value.index() + 1;
}

CFTypeID CFStringGetTypeID() {
    return kindOf<std::string>();
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes, CFStringEncoding, Boolean) {
    // As the system does with bytes that are no text.
    if (failures::due("CFStringCreateWithBytes") ||
        !g_utf8_validate_len(reinterpret_cast<const char*>(bytes), static_cast<gsize>(numBytes), nullptr))
        return nullptr;
    return static_cast<CFStringRef>(
        created(std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(numBytes))));
}

CFIndex CFStringGetLength(CFStringRef theString) {
    return static_cast<CFIndex>(valueOf<std::string>(theString).size());
}

CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding, UInt8, Boolean, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
    const std::string& text = valueOf<std::string>(theString);
    if (usedBufLen)
        *usedBufLen = range.length;
    if (buffer)
        std::memcpy(buffer, text.data() + range.location, static_cast<std::size_t>(std::min(range.length, maxBufLen)));
    return range.length;
}

CFTypeID CFNumberGetTypeID() {
    return kindOf<Number>();
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return std::holds_alternative<double>(valueOf<Number>(number).value) ? 1 : 0;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    const auto convert = [&](auto& to) {
        std::visit([&to](auto value) { to = static_cast<std::remove_reference_t<decltype(to)>>(value); },
                   valueOf<Number>(number).value);
    };
    switch (theType) {
    case kCFNumberSInt64Type:
        convert(*static_cast<std::int64_t*>(valuePtr));
        return 1;
    case kCFNumberDoubleType:
        convert(*static_cast<double*>(valuePtr));
        return 1;
    default:
        ledger::error("CFNumberGetValue: a type that this double does not know");
        return 0;
    }
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr) {
    if (failures::due("CFNumberCreate"))
        return nullptr;
    return static_cast<CFNumberRef>(theType == kCFNumberDoubleType
                                        ? created(*static_cast<const double*>(valuePtr))
                                        : created(*static_cast<const std::int64_t*>(valuePtr)));
}

CFTypeID CFBooleanGetTypeID() {
    return kindOf<bool>();
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return valueOf<bool>(boolean) ? 1 : 0;
}

CFTypeID CFDataGetTypeID() {
    return kindOf<PropertyList::Bytes>();
}

CFIndex CFDataGetLength(CFDataRef theData) {
    return static_cast<CFIndex>(valueOf<PropertyList::Bytes>(theData).size());
}

const UInt8* CFDataGetBytePtr(CFDataRef theData) {
    return valueOf<PropertyList::Bytes>(theData).data();
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    if (failures::due("CFDataCreate"))
        return nullptr;
    return static_cast<CFDataRef>(created(PropertyList::Bytes(bytes, bytes + length)));
}

CFTypeID CFDateGetTypeID() {
    return kindOf<Date>();
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate) {
    return valueOf<Date>(theDate).seconds;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at) {
    if (failures::due("CFDateCreate"))
        return nullptr;
    return static_cast<CFDateRef>(created(PropertyList::Date{at + kCFAbsoluteTimeIntervalSince1970}));
}

CFTypeID CFURLGetTypeID() {
    return kindOf<Url>();
}

CFURLRef CFURLCreateWithString(CFAllocatorRef, CFStringRef URLString, CFURLRef) {
    return failures::due("CFURLCreateWithString")
               ? nullptr
               : static_cast<CFURLRef>(created(PropertyList::Address{text(URLString)}));
}

CFURLRef CFURLCopyAbsoluteURL(CFURLRef relativeURL) {
    return failures::due("CFURLCopyAbsoluteURL") ? nullptr : static_cast<CFURLRef>(CFRetain(relativeURL));
}

CFStringRef CFURLGetString(CFURLRef anURL) {
    return static_cast<CFStringRef>(valueOf<Url>(anURL).text);
}

CFTypeID CFArrayGetTypeID() {
    return kindOf<List>();
}

CFIndex CFArrayGetCount(CFArrayRef theArray) {
    return static_cast<CFIndex>(valueOf<List>(theArray).size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) {
    return valueOf<List>(theArray).at(static_cast<std::size_t>(idx));
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex numValues, const CFArrayCallBacks* callBacks) {
    if (callBacks != &kCFTypeArrayCallBacks)
        ledger::error("a list that does not retain what it holds");
    if (failures::due("CFArrayCreate"))
        return nullptr;
    List list;
    for (CFIndex index = 0; index < numValues; ++index)
        list.push_back(CFRetain(values[index]));
    return static_cast<CFArrayRef>(add({std::move(list)}));
}

CFTypeID CFDictionaryGetTypeID() {
    return kindOf<Dictionary>();
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values, CFIndex numValues,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    if (keyCallBacks != &kCFTypeDictionaryKeyCallBacks || valueCallBacks != &kCFTypeDictionaryValueCallBacks)
        ledger::error("a dictionary that does not retain what it holds");
    if (failures::due("CFDictionaryCreate"))
        return nullptr;
    Dictionary dictionary;
    for (CFIndex index = 0; index < numValues; ++index)
        dictionary.emplace_back(CFRetain(keys[index]), CFRetain(values[index]));
    return static_cast<CFDictionaryRef>(add({std::move(dictionary)}));
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict) {
    return static_cast<CFIndex>(valueOf<Dictionary>(theDict).size());
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values) {
    for (const auto& [key, value] : valueOf<Dictionary>(theDict)) {
        *keys++ = key;
        *values++ = value;
    }
}

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key) {
    for (const auto& [known, value] : valueOf<Dictionary>(theDict)) {
        if (std::holds_alternative<std::string>(at(known).value) && text(known) == text(key))
            return value;
    }
    return nullptr;
}

CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                         UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14,
                                         UInt8 byte15) {
    // The one object of its bytes, as long as the process lives.
    using Bytes = std::array<UInt8, 16>;
    static std::mutex lock;
    static std::map<Bytes, CFUUIDBytes>& all = *new std::map<Bytes, CFUUIDBytes>;
    const Bytes bytes{byte0, byte1, byte2,  byte3,  byte4,  byte5,  byte6,  byte7,
                      byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15};
    const std::lock_guard guard(lock);
    CFUUIDBytes& kept = all[bytes];
    std::memcpy(&kept, bytes.data(), bytes.size());
    return reinterpret_cast<CFUUIDRef>(&kept);
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid) {
    return *reinterpret_cast<const CFUUIDBytes*>(uuid);
}

CFRunLoopRef CFRunLoopGetCurrent() {
    return nullptr;
}

void CFRunLoopAddSource(CFRunLoopRef, CFRunLoopSourceRef source, CFRunLoopMode) {
    const std::lock_guard guard(loops().lock);
    loops().sources.push_back(CFRetain(source));
}

void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
    std::size_t erased = 0;
    {
        const std::lock_guard guard(loops().lock);
        erased = std::erase(loops().sources, CFTypeRef(source));
    }
    if (erased > 0)
        CFRelease(source);
}

} // extern "C"
