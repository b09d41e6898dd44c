// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/appkit/SentrelView.h>

#include <SentrelKit/embed/appkit/detail/Elements.h>
#include <SentrelKit/platform/macos/common/Bridge.h>
#include <SentrelKit/views/drawing/coregraphics/CoreGraphicsCanvas.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

constexpr NSTimeInterval frame = 1.0 / 60.0;
constexpr double pointsOfALine = 10.0; // by a wheel that counts lines

NSRect rectOf(const sentrel::Rect& rect) {
    return NSMakeRect(rect.x, rect.y, rect.width, rect.height);
}

sentrel::Rect rectOf(NSRect rect) {
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

// What the pointer looks like over a rectangle of the surface.
struct CursorPlace {
    NSRect rect;
    sentrel::Cursor cursor;

    friend bool operator==(const CursorPlace& one, const CursorPlace& other) {
        return NSEqualRects(one.rect, other.rect) && one.cursor == other.cursor;
    }
};

// Those of a tree, inner views first: earlier ones win.
void appendCursors(const sentrel::View& view, std::vector<CursorPlace>& places) {
    if (view.isHidden() || !view.isEnabled())
        return;
    for (const auto& inner : view.subviews())
        appendCursors(*inner, places);
    const sentrel::Transform place = view.toSurface();
    for (const sentrel::CursorRect& area : view.cursorRects()) {
        const sentrel::Point one = place.apply({area.rect.x, area.rect.y});
        const sentrel::Point other = place.apply({area.rect.x + area.rect.width, area.rect.y + area.rect.height});
        places.push_back(
            {NSMakeRect(std::min(one.x, other.x), std::min(one.y, other.y), area.rect.width, area.rect.height),
             area.cursor});
    }
}

bool acceptsFocus(const sentrel::View& view) {
    return !view.isHidden() && view.isEnabled() &&
           (view.acceptsFocus() || std::any_of(view.subviews().begin(), view.subviews().end(),
                                               [](const auto& inner) { return acceptsFocus(*inner); }));
}

sentrel::Modifiers modifiersOf(NSEvent* event) {
    const NSEventModifierFlags flags = event.modifierFlags;
    return {.shift = (flags & NSEventModifierFlagShift) != 0,
            .control = (flags & NSEventModifierFlagControl) != 0,
            .alternate = (flags & NSEventModifierFlagOption) != 0,
            .command = (flags & NSEventModifierFlagCommand) != 0};
}

sentrel::Key keyOf(unichar character) {
    switch (character) {
    case NSTabCharacter:
    case NSBackTabCharacter:
        return sentrel::Key::tab;
    case ' ':
        return sentrel::Key::space;
    case NSCarriageReturnCharacter:
    case NSEnterCharacter:
        return sentrel::Key::enter;
    case '\x1b':
        return sentrel::Key::escape;
    case NSLeftArrowFunctionKey:
        return sentrel::Key::left;
    case NSRightArrowFunctionKey:
        return sentrel::Key::right;
    case NSUpArrowFunctionKey:
        return sentrel::Key::up;
    case NSDownArrowFunctionKey:
        return sentrel::Key::down;
    case NSHomeFunctionKey:
        return sentrel::Key::home;
    case NSEndFunctionKey:
        return sentrel::Key::end;
    case NSPageUpFunctionKey:
        return sentrel::Key::pageUp;
    case NSPageDownFunctionKey:
        return sentrel::Key::pageDown;
    default:
        return sentrel::Key::other;
    }
}

sentrel::KeyEvent keyEventOf(NSEvent* event) {
    // Dead keys have no character of their own yet.
    NSString* const plain = event.charactersIgnoringModifiers;
    const sentrel::Key key = plain.length > 0 ? keyOf([plain characterAtIndex:0]) : sentrel::Key::other;
    sentrel::KeyEvent result{.key = key, .modifiers = modifiersOf(event), .isRepeat = event.isARepeat != NO};
    if (key == sentrel::Key::other)
        result.text = sentrel::platform::textOf(event.characters).value_or(std::string());
    return result;
}

} // namespace

@implementation SentrelView {
    std::unique_ptr<sentrel::Surface> _surface;
    std::unique_ptr<sentrel::Elements> _elements; // of the surface
    std::vector<CursorPlace> _cursors;
    std::vector<sentrel::Rect> _missed; // asked for, and drawn perhaps in part, since AppKit was told last
    NSSize _naturalSize;
    NSTimer* _frames;
    BOOL _isToTell; // AppKit of what is to be drawn
}

- (instancetype)initWithView:(std::shared_ptr<sentrel::View>)view {
    self = [super initWithFrame:rectOf(view->frame())];
    if (self) {
        _surface = std::make_unique<sentrel::Surface>(std::move(view));
        _elements = std::make_unique<sentrel::Elements>(self, *_surface);
        _naturalSize = self.intrinsicContentSize;
        __weak SentrelView* const weakSelf = self;
        _surface->setDisplayHandler([weakSelf] { [weakSelf displayWanted]; });
        _surface->setFramesHandler([weakSelf](bool needed) { [weakSelf runFrames:needed]; });
        const NSTrackingAreaOptions options =
            NSTrackingMouseEnteredAndExited | NSTrackingMouseMoved | NSTrackingActiveAlways | NSTrackingInVisibleRect;
        [self addTrackingArea:[[NSTrackingArea alloc] initWithRect:NSZeroRect options:options owner:self userInfo:nil]];
        self.focusRingType = NSFocusRingTypeNone; // the views draw their own
        [self showAppearance];
    }
    return self;
}

- (void)dealloc {
    [_frames invalidate];
}

- (std::shared_ptr<sentrel::View>)view {
    return _surface->view();
}

- (sentrel::Surface*)surface {
    return _surface.get();
}

// Size.

- (BOOL)isFlipped {
    return YES;
}

- (void)setFrameSize:(NSSize)size {
    [super setFrameSize:size];
    if (_surface) // or AppKit is making this view
        _surface->setSize({size.width, size.height});
    self.needsDisplay = YES;
}

- (NSSize)intrinsicContentSize {
    const sentrel::Size size = _surface->naturalSize();
    return NSMakeSize(size.width, size.height);
}

// Drawing.

// Several requests of one turn of the loop are told together.
- (void)displayWanted {
    if (_isToTell)
        return;
    _isToTell = YES;
    __weak SentrelView* const weakSelf = self;
    dispatch_async(dispatch_get_main_queue(), ^{
      [weakSelf tellChanges];
    });
}

- (void)tellChanges {
    _isToTell = NO;
    std::vector<sentrel::Rect> changed = std::exchange(_missed, {});
    const std::vector<sentrel::Rect> wanted = _surface->dirtyRects();
    changed.insert(changed.end(), wanted.begin(), wanted.end());
    for (const sentrel::Rect& rect : changed)
        [self setNeedsDisplayInRect:rectOf(rect)];
    if (!NSEqualSizes(_naturalSize, self.intrinsicContentSize)) {
        _naturalSize = self.intrinsicContentSize;
        [self invalidateIntrinsicContentSize];
    }
    if (_cursors != [self cursorPlaces])
        [self.window invalidateCursorRectsForView:self];
    _elements->refresh();
}

- (void)drawRect:(NSRect)dirtyRect {
    // A view that is drawn in part forgets its request: what AppKit was not told of yet is not forgotten here.
    if (_isToTell) {
        const std::vector<sentrel::Rect> wanted = _surface->dirtyRects();
        _missed.insert(_missed.end(), wanted.begin(), wanted.end());
    }
    const NSRect* rects = nullptr;
    NSInteger count = 0;
    [self getRectsBeingDrawn:&rects count:&count];
    std::vector<sentrel::Rect> areas;
    for (NSInteger index = 0; index < count; ++index)
        areas.push_back(rectOf(rects[index]));
    sentrel::CoreGraphicsCanvas canvas(NSGraphicsContext.currentContext.CGContext);
    _surface->draw(canvas, areas);
}

- (void)viewDidChangeBackingProperties {
    [super viewDidChangeBackingProperties];
    self.needsDisplay = YES;
}

- (void)viewDidChangeEffectiveAppearance {
    [super viewDidChangeEffectiveAppearance];
    [self showAppearance];
}

- (void)showAppearance {
    if (!_surface) // AppKit is making this view
        return;
    NSAppearanceName const name = [self.effectiveAppearance
        bestMatchFromAppearancesWithNames:@[ NSAppearanceNameAqua, NSAppearanceNameDarkAqua ]];
    _surface->view()->setAppearance([name isEqualToString:NSAppearanceNameDarkAqua] ? sentrel::Appearance::dark
                                                                                    : sentrel::Appearance::light);
}

- (void)runFrames:(BOOL)needed {
    [_frames invalidate];
    _frames = nil;
    if (!needed)
        return;
    __weak SentrelView* const weakSelf = self;
    _frames = [NSTimer timerWithTimeInterval:frame
                                     repeats:YES
                                       block:^(NSTimer*) {
                                         [weakSelf tellChanges];
                                       }];
    [NSRunLoop.mainRunLoop addTimer:_frames forMode:NSRunLoopCommonModes];
}

// Whether anybody can see it.

- (void)viewWillMoveToWindow:(NSWindow*)window {
    [super viewWillMoveToWindow:window];
    _surface->events().cancel();
    NSNotificationCenter* const centre = NSNotificationCenter.defaultCenter;
    for (NSNotificationName name in [self windowNotices])
        [centre removeObserver:self name:name object:self.window];
}

- (void)viewDidMoveToWindow {
    [super viewDidMoveToWindow];
    NSNotificationCenter* const centre = NSNotificationCenter.defaultCenter;
    if (self.window) {
        for (NSNotificationName name in [self windowNotices])
            [centre addObserver:self selector:@selector(windowChanged:) name:name object:self.window];
    }
    [self windowChanged:nil];
}

- (NSArray<NSNotificationName>*)windowNotices {
    return @[
        NSWindowDidChangeOcclusionStateNotification, NSWindowDidMiniaturizeNotification,
        NSWindowDidDeminiaturizeNotification, NSWindowDidBecomeKeyNotification, NSWindowDidResignKeyNotification
    ];
}

- (void)windowChanged:(NSNotification*)notification {
    [self showVisibility];
    if (self.window.firstResponder != self)
        return;
    if (self.window.keyWindow)
        _surface->events().keyboardCame();
    else
        _surface->events().keyboardLeft();
}

- (void)viewDidHide {
    [super viewDidHide];
    [self showVisibility];
}

- (void)viewDidUnhide {
    [super viewDidUnhide];
    [self showVisibility];
}

- (void)showVisibility {
    NSWindow* const window = self.window;
    _surface->setVisible(window && !window.miniaturized && !self.hiddenOrHasHiddenAncestor &&
                         (window.occlusionState & NSWindowOcclusionStateVisible) != 0);
}

// The pointer.

- (std::vector<CursorPlace>)cursorPlaces {
    std::vector<CursorPlace> places;
    appendCursors(*_surface->view(), places);
    return places;
}

- (void)resetCursorRects {
    [super resetCursorRects];
    _cursors = [self cursorPlaces];
    for (const CursorPlace& place : _cursors) {
        NSCursor* const cursor =
            place.cursor == sentrel::Cursor::pointingHand ? NSCursor.pointingHandCursor : NSCursor.arrowCursor;
        [self addCursorRect:NSIntersectionRect(place.rect, self.visibleRect) cursor:cursor];
    }
}

- (sentrel::Point)placeOf:(NSEvent*)event {
    const NSPoint point = [self convertPoint:event.locationInWindow fromView:nil];
    return {point.x, point.y};
}

- (BOOL)acceptsFirstMouse:(NSEvent*)event {
    return YES;
}

- (void)mouseEntered:(NSEvent*)event {
    [self mouseMoved:event];
}

- (void)mouseMoved:(NSEvent*)event {
    _surface->events().moved([self placeOf:event], modifiersOf(event));
}

- (void)mouseDragged:(NSEvent*)event {
    [self mouseMoved:event];
}

- (void)rightMouseDragged:(NSEvent*)event {
    [self mouseMoved:event];
}

- (void)otherMouseDragged:(NSEvent*)event {
    [self mouseMoved:event];
}

- (void)mouseExited:(NSEvent*)event {
    _surface->events().left();
}

- (void)press:(sentrel::MouseButton)button by:(NSEvent*)event {
    _surface->events().pressed([self placeOf:event], button, modifiersOf(event));
}

// What a button does may let this view go.
- (void)release:(sentrel::MouseButton)button by:(NSEvent*)event {
    SentrelView* const staying = self;
    staying->_surface->events().released([staying placeOf:event], button, modifiersOf(event));
}

- (void)mouseDown:(NSEvent*)event {
    [self press:sentrel::MouseButton::primary by:event];
}

- (void)mouseUp:(NSEvent*)event {
    [self release:sentrel::MouseButton::primary by:event];
}

- (void)rightMouseDown:(NSEvent*)event {
    [self press:sentrel::MouseButton::secondary by:event];
    [super rightMouseDown:event]; // opens the view's menu, if the host gave it one
}

- (void)rightMouseUp:(NSEvent*)event {
    [self release:sentrel::MouseButton::secondary by:event];
}

- (void)otherMouseDown:(NSEvent*)event {
    [self press:sentrel::MouseButton::middle by:event];
}

- (void)otherMouseUp:(NSEvent*)event {
    [self release:sentrel::MouseButton::middle by:event];
}

- (void)scrollWheel:(NSEvent*)event {
    const double unit = event.hasPreciseScrollingDeltas ? 1.0 : pointsOfALine;
    // AppKit says by how much the content moves, which is the other way.
    if (!_surface->events().scrolled(
            {[self placeOf:event], -event.scrollingDeltaX * unit, -event.scrollingDeltaY * unit, modifiersOf(event)}))
        [super scrollWheel:event];
}

// The keys.

- (BOOL)acceptsFirstResponder {
    return acceptsFocus(*_surface->view());
}

- (BOOL)becomeFirstResponder {
    if (![super becomeFirstResponder])
        return NO;
    switch (self.window.keyViewSelectionDirection) {
    case NSSelectingNext:
        _surface->events().setFocused(nullptr);
        _surface->events().focusNext();
        break;
    case NSSelectingPrevious:
        _surface->events().setFocused(nullptr);
        _surface->events().focusPrevious();
        break;
    case NSDirectSelection:
    default:
        _surface->events().keyboardCame();
        break;
    }
    return YES;
}

- (BOOL)resignFirstResponder {
    if (![super resignFirstResponder])
        return NO;
    _surface->events().keyboardLeft();
    return YES;
}

- (void)keyDown:(NSEvent*)event {
    SentrelView* const staying = self; // what a key does may let this view go
    const sentrel::KeyEvent key = keyEventOf(event);
    if (staying->_surface->events().keyPressed(key))
        return;
    if (key.key == sentrel::Key::tab)
        [staying leaveBackwards:key.modifiers.shift];
    else
        [super keyDown:event];
}

// Past the last view in here, to the window's next one; where there is none, around.
- (void)leaveBackwards:(BOOL)backwards {
    NSView* const next = backwards ? self.previousValidKeyView : self.nextValidKeyView;
    if (next && next != self) {
        if (backwards)
            [self.window selectKeyViewPrecedingView:self];
        else
            [self.window selectKeyViewFollowingView:self];
        return;
    }
    _surface->events().setFocused(nullptr);
    if (backwards)
        _surface->events().focusPrevious();
    else
        _surface->events().focusNext();
}

// Assistive technology: a group of what is shown.

- (BOOL)isAccessibilityElement {
    return YES;
}

- (NSAccessibilityRole)accessibilityRole {
    return NSAccessibilityGroupRole;
}

- (NSArray*)accessibilityChildren {
    return _elements->top();
}

- (id)accessibilityHitTest:(NSPoint)point {
    const id element = _elements->at(point);
    return element ? element : [super accessibilityHitTest:point];
}

- (id)accessibilityFocusedUIElement {
    const id element = _elements->focused();
    return element ? element : [super accessibilityFocusedUIElement];
}

@end
