// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/network/Radios.h>

#include <SentrelKit/platform/macos/common/Bridge.h>

#include <dlfcn.h>

#include <utility>

// What is used of CWChannel, CWInterface and CWWiFiClient. The framework's own headers would have it linked.

@protocol SentrelWirelessChannel
@property(nonatomic, readonly) NSInteger channelNumber;
@property(nonatomic, readonly) NSInteger channelBand;
@property(nonatomic, readonly) NSInteger channelWidth;
@end

@protocol SentrelWirelessInterface
@property(nonatomic, readonly) NSString* interfaceName;
- (BOOL)powerOn;
- (NSInteger)rssiValue;
- (double)transmitRate;
- (id<SentrelWirelessChannel>)wlanChannel;
@end

@protocol SentrelWirelessClient
+ (id<SentrelWirelessClient>)sharedWiFiClient;
- (NSArray<id<SentrelWirelessInterface>>*)interfaces;
@end

namespace sentrel::platform {

namespace {

Class<SentrelWirelessClient> loadClient() {
    // Never closed: what has classes in it is not unloaded.
    if (!::dlopen("/System/Library/Frameworks/CoreWLAN.framework/CoreWLAN", RTLD_LAZY | RTLD_LOCAL))
        return Nil;
    return NSClassFromString(@"CWWiFiClient");
}

} // namespace

std::optional<std::vector<Radio>> radios() {
    @autoreleasepool {
        static const Class<SentrelWirelessClient> client = loadClient();
        if (!client)
            return std::nullopt;
        std::vector<Radio> list;
        for (id<SentrelWirelessInterface> interface in [[client sharedWiFiClient] interfaces]) {
            Radio radio;
            radio.name = textOf(interface.interfaceName).value_or("");
            radio.isOn = [interface powerOn];
            radio.signal = [interface rssiValue];
            radio.rate = [interface transmitRate];
            const id<SentrelWirelessChannel> channel = [interface wlanChannel];
            radio.channel = channel.channelNumber;
            radio.band = channel.channelBand;
            radio.channelWidth = channel.channelWidth;
            list.push_back(std::move(radio));
        }
        return list;
    }
}

} // namespace sentrel::platform
