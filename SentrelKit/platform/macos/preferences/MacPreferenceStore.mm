// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/preferences/MacPreferenceStore.h>

#include <SentrelKit/platform/macos/common/Bridge.h>
#include <SentrelKit/platform/support/PropertyListRules.h>

#include <utility>

namespace sentrel::platform {

namespace {

bool isDouble(const PropertyList& value) {
    return value.as<double>() != nullptr;
}

class Suite final : public PreferenceSuite {
public:
    explicit Suite(NSUserDefaults* defaults) : defaults_(defaults) {}

    std::optional<PropertyList> object(std::string_view key) const override {
        @autoreleasepool {
            NSString* const name = platform::object(std::string(key));
            PropertyList value =
                name ? propertyListOf((__bridge CFTypeRef)[defaults_ objectForKey:name]) : PropertyList();
            return value.empty() ? std::nullopt : std::optional(std::move(value));
        }
    }

    std::optional<PropertyList::Address> address(std::string_view key) const override {
        @autoreleasepool {
            NSString* const name = platform::object(std::string(key));
            NSURL* const url = name ? [defaults_ URLForKey:name] : nil;
            const std::optional<std::string> text = textOf(url.absoluteString);
            return text ? std::optional(PropertyList::Address{*text}) : std::nullopt;
        }
    }

    bool set(std::string_view key, const PropertyList& value) override {
        @autoreleasepool {
            NSString* const name = platform::object(std::string(key));
            // The user defaults end the process over what they cannot keep.
            const CFOwner<CFTypeRef> native = cfValue(value);
            if (!name || !native || !canBeKept(value))
                return false;
            const id object = (__bridge id)native.get();
            if (isDouble(value))
                [defaults_ setDouble:[object doubleValue] forKey:name];
            else if (const auto* integer = value.as<std::int64_t>())
                [defaults_ setInteger:*integer forKey:name];
            else if (const bool* boolean = value.as<bool>())
                [defaults_ setBool:*boolean forKey:name];
            else if (value.as<PropertyList::Address>())
                [defaults_ setURL:object forKey:name];
            else
                [defaults_ setObject:object forKey:name];
            return true;
        }
    }

    bool remove(std::span<const std::string> keys) override {
        @autoreleasepool {
            for (const std::string& key : keys) {
                if (NSString* const name = platform::object(key))
                    [defaults_ removeObjectForKey:name];
            }
            return true;
        }
    }

    std::vector<std::string> keys() const override {
        @autoreleasepool {
            std::vector<std::string> all;
            for (NSString* key in defaults_.dictionaryRepresentation)
                all.push_back(textOf(key).value_or(std::string()));
            return all;
        }
    }

private:
    NSUserDefaults* const defaults_;
};

} // namespace

std::shared_ptr<PreferenceSuite> MacPreferenceStore::suite(const std::string& name) {
    @autoreleasepool {
        const LockScope scope(lock_);
        const auto known = suites_.find(name);
        if (known != suites_.end())
            return known->second;
        NSString* const native = object(name);
        NSUserDefaults* const defaults = native ? [[NSUserDefaults alloc] initWithSuiteName:native] : nil;
        if (!defaults)
            return nullptr;
        return suites_[name] = std::make_shared<Suite>(defaults);
    }
}

} // namespace sentrel::platform
