// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <SentrelKit/platform/linux/preferences/PropertyListBinary.h>
#include <SentrelKit/platform/linux/preferences/PropertyListNode.h>
#include <SentrelKit/platform/linux/preferences/PropertyListXml.h>

namespace sentrel::platform {

std::optional<PropertyList> decodePropertyList(std::span<const std::uint8_t> bytes, ArchiveReferences references) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return text.starts_with(binaryPropertyListMagic) ? parseBinaryPropertyList(bytes, references)
                                                     : parseXmlPropertyList(text);
}

std::optional<PropertyList::Bytes> encodePropertyList(const PropertyList& value) {
    const PropertyListNode node = makePropertyListNode(value);
    return node ? binaryPropertyList(node.get()) : std::nullopt;
}

} // namespace sentrel::platform
