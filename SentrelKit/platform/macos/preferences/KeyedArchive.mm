// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/detail/KeyedArchive.h>

#include <SentrelKit/platform/macos/common/Bridge.h>

namespace sentrel::platform {

std::optional<PropertyList::Bytes> keyedArchive(const PropertyList& value) {
    @autoreleasepool {
        const CFOwner<CFTypeRef> native = cfValue(value);
        if (!native)
            return std::nullopt;
        NSData* const archive = [NSKeyedArchiver archivedDataWithRootObject:(__bridge id)native.get()];
        const PropertyList bytes = propertyListOf((__bridge CFTypeRef)archive);
        const auto* content = bytes.as<PropertyList::Bytes>();
        return content ? std::optional(*content) : std::nullopt;
    }
}

std::optional<PropertyList> keyedUnarchive(std::span<const std::uint8_t> archive) {
    @autoreleasepool {
        NSData* const data = [NSData dataWithBytes:archive.data() length:archive.size()];
        PropertyList value;
        @try {
            value = propertyListOf((__bridge CFTypeRef)[NSKeyedUnarchiver unarchiveObjectWithData:data]);
        } @catch (NSException*) {
            return std::nullopt; // damaged
        }
        return value.empty() ? std::nullopt : std::optional(std::move(value));
    }
}

} // namespace sentrel::platform
