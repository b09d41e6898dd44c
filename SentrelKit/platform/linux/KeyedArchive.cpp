#include <SentrelKit/platform/KeyedArchive.h>

#include <SentrelKit/platform/linux/PropertyListNode.h>

#include <cstdlib>
#include <glib.h>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

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

/// The entries of a list; none for anything else.
std::vector<plist_t> itemsOf(plist_t list) {
    std::vector<plist_t> items;
    if (!PLIST_IS_ARRAY(list))
        return items;
    items.resize(plist_array_get_size(list));
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(list, &iterator);
    for (plist_t& item : items)
        plist_array_next_item(list, iterator, &item);
    std::free(iterator);
    return items;
}

plist_t entryOf(plist_t dictionary, const char* key) {
    return PLIST_IS_DICT(dictionary) ? plist_dict_get_item(dictionary, key) : nullptr;
}

std::string_view textOf(plist_t node) {
    std::uint64_t length = 0;
    const char* text = PLIST_IS_STRING(node) ? plist_get_string_ptr(node, &length) : nullptr;
    return text ? std::string_view(text, static_cast<std::size_t>(length)) : std::string_view();
}

class Unarchiver {
public:
    explicit Unarchiver(plist_t file) : file_(file), objects_(itemsOf(entryOf(file, objectsKey))) {}

    std::optional<PropertyList> unarchive() {
        if (textOf(entryOf(file_, "$archiver")) != "NSKeyedArchiver")
            return std::nullopt;
        return value(entryOf(entryOf(file_, topKey), rootKey), 0);
    }

private:
    using Value = std::optional<PropertyList>;

    /// The object that a reference names; null for none. XML spells references as dictionaries.
    [[nodiscard]] plist_t object(plist_t reference) const {
        std::uint64_t index = 0;
        if (PLIST_IS_UID(reference))
            plist_get_uid_val(reference, &index);
        else if (plist_t number = entryOf(reference, "CF$UID"); PLIST_IS_UINT(number))
            plist_get_uint_val(number, &index);
        return index > 0 && index < objects_.size() ? objects_[static_cast<std::size_t>(index)] : nullptr;
    }

    Value value(plist_t reference, int depth) {
        plist_t const node = object(reference);
        if (!node || depth > propertyListDepthLimit || !spend(node))
            return std::nullopt;
        if (!PLIST_IS_DICT(node))
            return PLIST_IS_ARRAY(node) ? std::nullopt : propertyListFromNode(node);
        for (plist_t ancestor : itemsOf(entryOf(object(entryOf(node, classKey)), "$classes"))) {
            const std::string_view name = textOf(ancestor);
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
        }
        return std::nullopt;
    }

    /// Counts an object; false when the archive unfolds to too much.
    bool spend(plist_t node) {
        std::uint64_t content = 0;
        if (PLIST_IS_DATA(node))
            plist_get_data_ptr(node, &content);
        else if (PLIST_IS_STRING(node))
            plist_get_string_ptr(node, &content);
        unfolded_ += objectShare + content;
        return unfolded_ <= unfoldedLimit;
    }

    template <class Kind>
    static Value ofKind(plist_t node) {
        Value value = node ? propertyListFromNode(node) : std::nullopt;
        return value && value->as<Kind>() ? value : std::nullopt;
    }

    std::optional<PropertyList::List> values(plist_t references, int depth) {
        if (!PLIST_IS_ARRAY(references))
            return std::nullopt;
        PropertyList::List list;
        for (plist_t reference : itemsOf(references)) {
            Value item = value(reference, depth + 1);
            if (!item)
                return std::nullopt;
            list.push_back(std::move(*item));
        }
        return list;
    }

    Value list(plist_t node, int depth) {
        auto items = values(entryOf(node, "NS.objects"), depth);
        return items ? Value(PropertyList(std::move(*items))) : std::nullopt;
    }

    Value dictionary(plist_t node, int depth) {
        const auto keys = values(entryOf(node, "NS.keys"), depth);
        auto items = values(entryOf(node, "NS.objects"), depth);
        if (!keys || !items || keys->size() != items->size())
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

    static Value date(plist_t node) {
        const Value time = ofKind<double>(entryOf(node, "NS.time"));
        return time ? Value(PropertyList(PropertyList::Date{*time->as<double>() + propertyListEpoch})) : std::nullopt;
    }

    Value address(plist_t node, int depth) {
        const Value relative = value(entryOf(node, "NS.relative"), depth + 1);
        const std::string* text = relative ? relative->as<std::string>() : nullptr;
        if (!text)
            return std::nullopt;
        plist_t const baseReference = entryOf(node, "NS.base");
        if (!object(baseReference))
            return PropertyList(PropertyList::Address{*text});
        const Value base = value(baseReference, depth + 1);
        const auto* baseAddress = base ? base->as<PropertyList::Address>() : nullptr;
        if (!baseAddress)
            return std::nullopt;
        char* resolved = g_uri_resolve_relative(baseAddress->text.c_str(), text->c_str(), G_URI_FLAGS_NONE, nullptr);
        if (!resolved)
            return std::nullopt;
        PropertyList::Address whole{resolved};
        g_free(resolved);
        return PropertyList(std::move(whole));
    }

    plist_t file_;
    std::vector<plist_t> objects_;
    std::uint64_t unfolded_ = 0;
};

} // namespace

std::optional<PropertyList::Bytes> keyedArchive(const PropertyList& value) {
    return Archiver().archive(value);
}

std::optional<PropertyList> keyedUnarchive(std::span<const std::uint8_t> archive) {
    const PropertyListNode file = parsePropertyListNode(archive);
    return file ? Unarchiver(file.get()).unarchive() : std::nullopt;
}

} // namespace sentrel::platform
