// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/appkit/SentrelView.h>

#include <SentrelKit/platform/macos/common/Bridge.h>
#include <SentrelKit/views/EventRouter.h>
#include <SentrelKit/views/drawing/coregraphics/CoreGraphicsCanvas.h>

#include <algorithm>
#include <string>

namespace {

constexpr NSTimeInterval frame = 1.0 / 60.0;

NSRect rectOf(const sentrel::Rect& rect) {
    return NSMakeRect(rect.x, rect.y, rect.width, rect.height);
}

// What a tree shows as text, outer views first.
void appendValues(const sentrel::View& view, std::string& text) {
    if (const std::optional<std::string> value = view.accessibilityValue(); value && !value->empty())
        text += (text.empty() ? "" : ", ") + *value;
    for (const auto& inner : view.subviews())
        appendValues(*inner, text);
}

} // namespace

@implementation SentrelView {
    std::shared_ptr<sentrel::View> _view;
    std::unique_ptr<sentrel::EventRouter> _router;
    NSTimer* _frames;
}

- (instancetype)initWithView:(std::shared_ptr<sentrel::View>)view {
    self = [super initWithFrame:rectOf(view->frame())];
    if (self) {
        _view = std::move(view);
        _router = std::make_unique<sentrel::EventRouter>(*_view);
        __weak SentrelView* const weakSelf = self;
        _view->setDisplayHandler([weakSelf] { [weakSelf showChanges]; });
    }
    return self;
}

- (void)dealloc {
    _view->setDisplayHandler(nullptr);
    [_frames invalidate];
}

- (std::shared_ptr<sentrel::View>)view {
    return _view;
}

// Drawing.

- (BOOL)isFlipped {
    return YES;
}

- (void)setFrameSize:(NSSize)size {
    [super setFrameSize:size];
    _view->setFrame({0.0, 0.0, size.width, size.height});
    [self.window invalidateCursorRectsForView:self];
}

- (void)showChanges {
    for (const sentrel::Rect& rect : _view->dirtyRects())
        [self setNeedsDisplayInRect:rectOf(rect)];
}

- (void)drawRect:(NSRect)dirtyRect {
    {
        sentrel::CoreGraphicsCanvas canvas(NSGraphicsContext.currentContext.CGContext);
        _view->display(canvas);
    }
    if (_view->isAnimating())
        [self startFrames];
}

// One frame after the other while something changes by itself and somebody can see it.
- (void)startFrames {
    if (_frames)
        return;
    __weak SentrelView* const weakSelf = self;
    _frames = [NSTimer timerWithTimeInterval:frame
                                     repeats:YES
                                       block:^(NSTimer*) {
                                         [weakSelf showNextFrame];
                                       }];
    [NSRunLoop.mainRunLoop addTimer:_frames forMode:NSRunLoopCommonModes];
}

- (void)showNextFrame {
    self.needsDisplay = YES; // also once when it is over: what moved last is at its end
    const bool isSeen =
        (self.window.occlusionState & NSWindowOcclusionStateVisible) != 0 && !self.hiddenOrHasHiddenAncestor;
    if (isSeen && _view->isAnimating())
        return;
    [_frames invalidate];
    _frames = nil;
}

// The pointer.

- (void)updateTrackingAreas {
    [super updateTrackingAreas];
    for (NSTrackingArea* area in [self.trackingAreas copy])
        [self removeTrackingArea:area];
    const NSTrackingAreaOptions options =
        NSTrackingMouseEnteredAndExited | NSTrackingMouseMoved | NSTrackingActiveAlways | NSTrackingInVisibleRect;
    [self addTrackingArea:[[NSTrackingArea alloc] initWithRect:NSZeroRect options:options owner:self userInfo:nil]];
}

- (void)resetCursorRects {
    [super resetCursorRects];
    [self addCursorRectsOf:*_view];
}

- (void)addCursorRectsOf:(const sentrel::View&)view {
    const sentrel::Transform place = view.toSurface();
    for (const sentrel::CursorRect& area : view.cursorRects()) {
        const sentrel::Point one = place.apply({area.rect.x, area.rect.y});
        const sentrel::Point other = place.apply({area.rect.x + area.rect.width, area.rect.y + area.rect.height});
        const NSRect rect =
            NSMakeRect(std::min(one.x, other.x), std::min(one.y, other.y), area.rect.width, area.rect.height);
        NSCursor* const cursor =
            area.cursor == sentrel::Cursor::pointingHand ? NSCursor.pointingHandCursor : NSCursor.arrowCursor;
        [self addCursorRect:NSIntersectionRect(rect, self.visibleRect) cursor:cursor];
    }
    for (const auto& inner : view.subviews())
        [self addCursorRectsOf:*inner];
}

- (sentrel::Point)placeOf:(NSEvent*)event {
    const NSPoint point = [self convertPoint:event.locationInWindow fromView:nil];
    return {point.x, point.y};
}

- (BOOL)acceptsFirstMouse:(NSEvent*)event {
    return YES;
}

- (void)mouseEntered:(NSEvent*)event {
    _router->moved([self placeOf:event]);
}

- (void)mouseMoved:(NSEvent*)event {
    _router->moved([self placeOf:event]);
}

- (void)mouseDragged:(NSEvent*)event {
    _router->moved([self placeOf:event]);
}

- (void)mouseExited:(NSEvent*)event {
    _router->left();
}

- (void)mouseDown:(NSEvent*)event {
    _router->pressed([self placeOf:event]);
}

- (void)mouseUp:(NSEvent*)event {
    // A button's action may take this view away.
    SentrelView* const staying = self;
    staying->_router->released([staying placeOf:event]);
}

- (void)viewWillMoveToWindow:(NSWindow*)window {
    [super viewWillMoveToWindow:window];
    if (!window)
        _router->cancel();
}

// Assistive technology.

- (BOOL)isAccessibilityElement {
    return YES;
}

- (NSAccessibilityRole)accessibilityRole {
    return NSAccessibilityImageRole;
}

- (id)accessibilityValue {
    std::string text;
    appendValues(*_view, text);
    return sentrel::platform::object(text);
}

@end
