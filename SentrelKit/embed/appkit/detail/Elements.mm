// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/appkit/detail/Elements.h>

#include <SentrelKit/platform/macos/common/Bridge.h>

#include <utility>

using sentrel::AccessibilityRole;
using sentrel::AccessibleElement;
using sentrel::platform::object;

namespace {

NSAccessibilityRole nativeRole(AccessibilityRole role) {
    switch (role) {
    case AccessibilityRole::staticText:
        return NSAccessibilityStaticTextRole;
    case AccessibilityRole::image:
        return NSAccessibilityImageRole;
    case AccessibilityRole::levelIndicator:
        return NSAccessibilityLevelIndicatorRole;
    case AccessibilityRole::button:
        return NSAccessibilityButtonRole;
    case AccessibilityRole::link:
        return NSAccessibilityLinkRole;
    case AccessibilityRole::toggle:
        return NSAccessibilityCheckBoxRole;
    case AccessibilityRole::group:
    case AccessibilityRole::none:
    default:
        return NSAccessibilityGroupRole;
    }
}

bool canBePressed(AccessibilityRole role) {
    return role == AccessibilityRole::button || role == AccessibilityRole::link || role == AccessibilityRole::toggle;
}

} // namespace

/// One element: what was told of a view last.
@interface SentrelElement : NSAccessibilityElement
@property(nonatomic, weak) NSView* host;
@property(nonatomic) sentrel::Surface* surface; // null once it is gone
@end

@implementation SentrelElement {
    AccessibleElement _told;
    NSArray* _children;
}

- (const AccessibleElement&)told {
    return _told;
}

// Takes what is told now and posts what that changes.
- (void)take:(const AccessibleElement&)told {
    const AccessibleElement before = std::exchange(_told, told);
    _told.children.clear(); // they are elements of their own
    if (before.role == AccessibilityRole::none)
        return; // nobody knows it yet
    if (before.value != told.value || before.level != told.level)
        NSAccessibilityPostNotification(self, NSAccessibilityValueChangedNotification);
    if (before.name != told.name)
        NSAccessibilityPostNotification(self, NSAccessibilityTitleChangedNotification);
    if (!before.isFocused && told.isFocused)
        NSAccessibilityPostNotification(self, NSAccessibilityFocusedUIElementChangedNotification);
}

- (BOOL)isAccessibilityElement {
    return YES;
}

- (NSAccessibilityRole)accessibilityRole {
    return nativeRole(_told.role);
}

- (NSString*)accessibilityRoleDescription {
    return NSAccessibilityRoleDescription(self.accessibilityRole, nil);
}

// A text is its own value here, and has no label.
- (NSString*)accessibilityLabel {
    return _told.role == AccessibilityRole::staticText ? nil : object(_told.name);
}

- (id)accessibilityValue {
    switch (_told.role) {
    case AccessibilityRole::staticText:
        return object(_told.name);
    case AccessibilityRole::toggle:
        return @(_told.value == "on");
    default:
        if (_told.level)
            return @(*_told.level);
        return object(_told.value);
    }
}

- (NSString*)accessibilityValueDescription {
    return object(_told.value);
}

- (id)accessibilityMinValue {
    return _told.level ? @0 : nil;
}

- (id)accessibilityMaxValue {
    return _told.level ? @100 : nil;
}

- (NSRect)accessibilityFrame {
    NSView* const host = self.host;
    const sentrel::Rect& frame = _told.frame;
    return host ? NSAccessibilityFrameInView(host, NSMakeRect(frame.x, frame.y, frame.width, frame.height))
                : NSZeroRect;
}

- (id)accessibilityWindow {
    return self.host.window;
}

- (id)accessibilityTopLevelUIElement {
    return self.host.window;
}

- (NSArray*)accessibilityChildren {
    return _children;
}

- (void)setAccessibilityChildren:(NSArray*)children {
    _children = [children copy];
}

- (BOOL)isAccessibilityEnabled {
    return _told.isEnabled;
}

- (BOOL)isAccessibilityFocused {
    return _told.isFocused;
}

- (void)setAccessibilityFocused:(BOOL)focused {
    NSView* const host = self.host;
    const std::shared_ptr<sentrel::View> view = _told.view.lock();
    if (!host || !view || !self.surface || !focused)
        return;
    [host.window makeFirstResponder:host];
    self.surface->events().setFocused(view.get());
}

- (BOOL)accessibilityPerformPress {
    NSView* const staying = self.host; // what is pressed may let it go
    const std::shared_ptr<sentrel::View> view = _told.view.lock();
    return staying && view && view->press();
}

- (BOOL)isAccessibilitySelectorAllowed:(SEL)selector {
    if (selector == @selector(accessibilityPerformPress))
        return canBePressed(_told.role) && _told.isEnabled;
    if (selector == @selector(setAccessibilityFocused:))
        return _told.isFocusable;
    return [super isAccessibilitySelectorAllowed:selector];
}

- (id)accessibilityHitTest:(NSPoint)point {
    for (SentrelElement* child in _children.reverseObjectEnumerator) { // later ones lie above
        if (NSPointInRect(point, child.accessibilityFrame))
            return [child accessibilityHitTest:point];
    }
    return self;
}

@end

namespace sentrel {

Elements::~Elements() {
    for (const auto& [view, element] : known_)
        element.surface = nullptr;
}

NSArray* Elements::take(const std::vector<AccessibleElement>& told, id parent, Known& before) {
    NSMutableArray* const elements = [NSMutableArray arrayWithCapacity:told.size()];
    for (const AccessibleElement& one : told) {
        const std::shared_ptr<View> view = one.view.lock();
        SentrelElement* element = before[view.get()];
        if (!element || [element told].view.lock() != view) { // at the address there may be another view by now
            element = [[SentrelElement alloc] init];
            element.host = host_;
            element.surface = &surface_;
        }
        [element take:one];
        element.accessibilityParent = parent;
        element.accessibilityChildren = take(one.children, element, before);
        known_[view.get()] = element;
        [elements addObject:element];
    }
    return elements;
}

void Elements::gather() {
    const bool isFirst = top_ == nil;
    Known before = std::exchange(known_, {});
    const std::size_t count = before.size();
    top_ = take(surface_.accessibleElements(), host_, before);
    bool isSame = isFirst || count == known_.size();
    for (const auto& [view, element] : before) {
        const auto now = known_.find(view);
        if (!element || (now != known_.end() && now->second == element))
            continue;
        isSame = false;
        element.surface = nullptr;
        NSAccessibilityPostNotification(element, NSAccessibilityUIElementDestroyedNotification);
    }
    if (NSView* const host = host_; host && !isSame)
        NSAccessibilityPostNotification(host, NSAccessibilityLayoutChangedNotification);
}

NSArray* Elements::top() {
    gather();
    return top_;
}

id Elements::at(NSPoint point) {
    for (SentrelElement* element in top().reverseObjectEnumerator) { // later ones lie above
        if (NSPointInRect(point, element.accessibilityFrame))
            return [element accessibilityHitTest:point];
    }
    return nil;
}

id Elements::focused() {
    gather();
    for (const auto& [view, element] : known_) {
        if ([element told].isFocused)
            return element;
    }
    return nil;
}

void Elements::refresh() {
    if (top_)
        gather();
}

} // namespace sentrel
