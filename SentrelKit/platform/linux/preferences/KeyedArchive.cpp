// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/detail/KeyedArchive.h>

#include <SentrelKit/platform/linux/common/GLibOwners.h>
#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>
#include <SentrelKit/platform/linux/preferences/PropertyListNode.h>

#include <glib.h>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace sentrel::platform {

namespace {

/// An archive is a dictionary with a list of objects, which refer to each other by their place in it. The first object
/// stands for nothing.
constexpr const char* objectsKey = "$objects";
constexpr const char* topKey = "$top";
constexpr const char* rootKey = "root";
constexpr const char* classKey = "$class";
constexpr const char* nullText = "$null";
constexpr std::uint64_t layoutVersion = 100000;

/// What one archive may unfold to, in bytes of content and a share for each object: objects may be referred to many
/// times.
constexpr std::uint64_t unfoldedLimit = std::uint64_t{64} << 20;
constexpr std::uint64_t objectShare = 512;

using ClassChain = std::initializer_list<const char*>;

class Archiver {
public:
    Archiver() { plist_array_append_item(objects_.get(), plist_new_string(nullText)); }

    std::optional<PropertyList::Bytes> archive(const PropertyList& value) {
        const auto root = add(value, 0);
        if (!root)
            return std::nullopt;
        plist_t top = plist_new_dict();
        plist_dict_set_item(top, rootKey, plist_new_uid(*root));
        const PropertyListNode file(plist_new_dict());
        plist_dict_set_item(file.get(), "$version", plist_new_uint(layoutVersion));
        plist_dict_set_item(file.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
        plist_dict_set_item(file.get(), topKey, top);
        plist_dict_set_item(file.get(), objectsKey, objects_.release());
        return binaryPropertyList(file.get());
    }

private:
    using Reference = std::optional<std::uint64_t>;

    /// Adds a value with all it holds; absent if an archive cannot hold it.
    Reference add(const PropertyList& value, int depth) {
        if (depth > propertyListDepthLimit)
            return std::nullopt;
        if (const auto* list = value.as<PropertyList::List>())
            return addList(*list, depth);
        if (const auto* entries = value.as<PropertyList::Dictionary>())
            return addDictionary(*entries, depth);
        if (const auto* date = value.as<PropertyList::Date>()) {
            plist_t object = plist_new_dict();
            plist_dict_set_item(object, "NS.time", plist_new_real(date->seconds - propertyListEpoch));
            return addObject(object, {"NSDate", "NSObject"});
        }
        if (const auto* address = value.as<PropertyList::Address>()) {
            const Reference relative = add(PropertyList(address->text), depth + 1);
            if (!relative)
                return std::nullopt;
            plist_t object = plist_new_dict();
            plist_dict_set_item(object, "NS.base", plist_new_uid(0));
            plist_dict_set_item(object, "NS.relative", plist_new_uid(*relative));
            return addObject(object, {"NSURL", "NSObject"});
        }
        PropertyListNode plain = makePropertyListNode(value);
        return plain ? append(plain.release()) : Reference();
    }

    Reference addList(const PropertyList::List& list, int depth) {
        plist_t object = plist_new_dict();
        const Reference place = addObject(object, {"NSArray", "NSObject"});
        PropertyListNode items(plist_new_array());
        for (const PropertyList& item : list)
            if (!addReference(items.get(), item, depth))
                return std::nullopt;
        plist_dict_set_item(object, "NS.objects", items.release());
        return place;
    }

    Reference addDictionary(const PropertyList::Dictionary& entries, int depth) {
        plist_t object = plist_new_dict();
        const Reference place = addObject(object, {"NSDictionary", "NSObject"});
        PropertyListNode keys(plist_new_array());
        PropertyListNode items(plist_new_array());
        for (const auto& [key, item] : entries)
            if (!addReference(keys.get(), PropertyList(key), depth) || !addReference(items.get(), item, depth))
                return std::nullopt;
        plist_dict_set_item(object, "NS.keys", keys.release());
        plist_dict_set_item(object, "NS.objects", items.release());
        return place;
    }

    bool addReference(plist_t references, const PropertyList& value, int depth) {
        const Reference reference = add(value, depth + 1);
        if (reference)
            plist_array_append_item(references, plist_new_uid(*reference));
        return reference.has_value();
    }

    Reference addObject(plist_t object, ClassChain chain) {
        const Reference place = append(object);
        plist_dict_set_item(object, classKey, plist_new_uid(classReference(chain)));
        return place;
    }

    std::uint64_t classReference(ClassChain chain) {
        const std::string name = *chain.begin();
        if (const auto known = classes_.find(name); known != classes_.end())
            return known->second;
        plist_t names = plist_new_array();
        for (const char* ancestor : chain)
            plist_array_append_item(names, plist_new_string(ancestor));
        plist_t description = plist_new_dict();
        plist_dict_set_item(description, "$classname", plist_new_string(name.c_str()));
        plist_dict_set_item(description, "$classes", names);
        return classes_[name] = append(description);
    }

    std::uint64_t append(plist_t object) {
        plist_array_append_item(objects_.get(), object);
        return next_++;
    }

    PropertyListNode objects_{plist_new_array()};
    std::uint64_t next_ = 1;
    std::map<std::string, std::uint64_t> classes_;
};

std::string_view textOf(const PropertyList* value) noexcept {
    const auto* text = value ? value->as<std::string>() : nullptr;
    return text ? std::string_view(*text) : std::string_view();
}

/// The entries of a list; none for anything else.
const PropertyList::List& itemsOf(const PropertyList* value) noexcept {
    static const PropertyList::List none;
    const auto* list = value ? value->as<PropertyList::List>() : nullptr;
    return list ? *list : none;
}

const PropertyList* entryOf(const PropertyList* value, const char* key) noexcept {
    return value ? value->find(key) : nullptr;
}

class Unarchiver {
public:
    explicit Unarchiver(const PropertyList& file) : file_(&file), objects_(itemsOf(file.find(objectsKey))) {}

    std::optional<PropertyList> unarchive() {
        if (textOf(entryOf(file_, "$archiver")) != "NSKeyedArchiver")
            return std::nullopt;
        return value(entryOf(entryOf(file_, topKey), rootKey), 0);
    }

private:
    using Value = std::optional<PropertyList>;

    /// The object that a reference names; null for none.
    [[nodiscard]] const PropertyList* object(const PropertyList* reference) const {
        const PropertyList* place = entryOf(reference, archiveReferenceKey);
        const auto* index = place ? place->as<std::int64_t>() : nullptr;
        const bool known = index && *index > 0 && std::cmp_less(*index, objects_.size());
        return known ? &objects_[static_cast<std::size_t>(*index)] : nullptr;
    }

    Value value(const PropertyList* reference, int depth) {
        const PropertyList* node = object(reference);
        if (!node || depth > propertyListDepthLimit || !spend(objectShare))
            return std::nullopt;
        if (!node->as<PropertyList::Dictionary>())
            return node->as<PropertyList::List>() ? std::nullopt : plain(node);
        for (const PropertyList& ancestor : itemsOf(entryOf(object(entryOf(node, classKey)), "$classes"))) {
            const std::string_view name = textOf(&ancestor);
            if (name == "NSArray")
                return list(node, depth);
            if (name == "NSDictionary")
                return dictionary(node, depth);
            if (name == "NSString")
                return ofKind<std::string>(entryOf(node, "NS.string"));
            if (name == "NSData")
                return ofKind<PropertyList::Bytes>(entryOf(node, "NS.data"));
            if (name == "NSDate")
                return date(node);
            if (name == "NSURL")
                return address(node, depth);
            if (!spend(objectShare))
                return std::nullopt;
        }
        return std::nullopt;
    }

    /// Counts a step; false when the archive unfolds to too much.
    bool spend(std::size_t size) {
        unfolded_ += size;
        return unfolded_ <= unfoldedLimit;
    }

    Value plain(const PropertyList* node) {
        std::size_t content = 0;
        if (const auto* bytes = node->as<PropertyList::Bytes>())
            content = bytes->size();
        else if (const auto* text = node->as<std::string>())
            content = text->size();
        return spend(content) ? Value(*node) : std::nullopt;
    }

    template <class Kind>
    Value ofKind(const PropertyList* node) {
        return node && node->as<Kind>() ? plain(node) : std::nullopt;
    }

    std::optional<PropertyList::List> values(const PropertyList* references, int depth) {
        if (!references || !references->as<PropertyList::List>())
            return std::nullopt;
        PropertyList::List list;
        for (const PropertyList& reference : itemsOf(references)) {
            Value item = value(&reference, depth + 1);
            if (!item)
                return std::nullopt;
            list.push_back(std::move(*item));
        }
        return list;
    }

    Value list(const PropertyList* node, int depth) {
        auto items = values(entryOf(node, "NS.objects"), depth);
        return items ? Value(PropertyList(std::move(*items))) : std::nullopt;
    }

    Value dictionary(const PropertyList* node, int depth) {
        const auto keys = values(entryOf(node, "NS.keys"), depth);
        auto items = keys ? values(entryOf(node, "NS.objects"), depth) : std::nullopt;
        if (!items || keys->size() != items->size())
            return std::nullopt;
        PropertyList::Dictionary entries;
        for (std::size_t i = 0; i < keys->size(); ++i) {
            const auto* key = (*keys)[i].as<std::string>();
            if (!key)
                return std::nullopt;
            entries.insert_or_assign(*key, std::move((*items)[i]));
        }
        return std::make_optional<PropertyList>(std::move(entries));
    }

    Value date(const PropertyList* node) {
        const Value time = ofKind<double>(entryOf(node, "NS.time"));
        return time ? Value(PropertyList(PropertyList::Date{*time->as<double>() + propertyListEpoch})) : std::nullopt;
    }

    Value address(const PropertyList* node, int depth) {
        const Value relative = value(entryOf(node, "NS.relative"), depth + 1);
        const std::string* text = relative ? relative->as<std::string>() : nullptr;
        if (!text)
            return std::nullopt;
        const PropertyList* baseReference = entryOf(node, "NS.base");
        if (!object(baseReference))
            return PropertyList(PropertyList::Address{*text});
        const Value base = value(baseReference, depth + 1);
        const auto* baseAddress = base ? base->as<PropertyList::Address>() : nullptr;
        if (!baseAddress)
            return std::nullopt;
        const TextPointer resolved(
            g_uri_resolve_relative(baseAddress->text.c_str(), text->c_str(), G_URI_FLAGS_NONE, nullptr));
        return resolved ? Value(PropertyList(PropertyList::Address{resolved.get()})) : std::nullopt;
    }

    const PropertyList* file_;
    const PropertyList::List& objects_;
    std::uint64_t unfolded_ = 0;
};

} // namespace

std::optional<PropertyList::Bytes> keyedArchive(const PropertyList& value) {
    return Archiver().archive(value);
}

std::optional<PropertyList> keyedUnarchive(std::span<const std::uint8_t> archive) {
    const auto file = decodePropertyList(archive, ArchiveReferences::spellOut);
    return file ? Unarchiver(*file).unarchive() : std::nullopt;
}

} // namespace sentrel::platform
