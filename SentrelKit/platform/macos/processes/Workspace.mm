// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/processes/Workspace.h>

#include <SentrelKit/platform/macos/common/Bridge.h>
#include <SentrelKit/platform/macos/common/Picture.h>

#include <utility>

/// Passes each change of the running applications on.
@interface SentrelRunningApplicationsObserver : NSObject
- (instancetype)initWithChanged:(std::function<void()>)changed;
@end

@implementation SentrelRunningApplicationsObserver {
    std::function<void()> _changed;
}

- (instancetype)initWithChanged:(std::function<void()>)changed {
    self = [super init];
    if (self)
        _changed = std::move(changed);
    return self;
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context {
    _changed();
}

@end

namespace sentrel::platform::Workspace {

std::vector<RunningApplication> runningApplications() {
    @autoreleasepool {
        std::vector<RunningApplication> applications;
        for (NSRunningApplication* running in NSWorkspace.sharedWorkspace.runningApplications) {
            RunningApplication application;
            application.processIdentifier = running.processIdentifier;
            application.localizedName = textOf(running.localizedName);
            application.bundleIdentifier = textOf(running.bundleIdentifier);
            application.icon = icon([running] { return running.icon; });
            applications.push_back(std::move(application));
        }
        return applications;
    }
}

void observeRunningApplications(std::function<void()> changed) {
    @autoreleasepool {
        // Never taken back, so never let go.
        static NSMutableArray* const observers = [NSMutableArray array];
        SentrelRunningApplicationsObserver* const observer =
            [[SentrelRunningApplicationsObserver alloc] initWithChanged:std::move(changed)];
        @synchronized(observers) {
            [observers addObject:observer];
        }
        [NSWorkspace.sharedWorkspace addObserver:observer forKeyPath:@"runningApplications" options:0 context:nullptr];
    }
}

} // namespace sentrel::platform::Workspace
