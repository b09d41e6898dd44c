// SPDX-License-Identifier: Apache-2.0
// The dashboard in a window of macOS, and the processor's load as a ring in the status bar.
#include "examples/dashboard/Board.h"
#include "examples/dashboard/Settings.h"

#include <SentrelKit/SentrelKit.h>
#include <SentrelKit/embed/appkit/SentrelView.h>

#import <AppKit/AppKit.h>

#include <functional>
#include <memory>
#include <utility>

/// A ring in a button: clicks are the button's.
@interface RingView : SentrelView
@end

@implementation RingView

- (NSView*)hitTest:(NSPoint)point {
    return nil;
}

@end

namespace {

constexpr double interval = 1.0; // seconds between two looks at the models
constexpr double boardWidth = 1240;
constexpr double ringSize = 18; // of an icon in the status bar
constexpr double ringWidth = 3;

// A view that is fed while somebody sees it.
class Fed {
public:
    Fed(SentrelView* view, std::function<void()> feed) : view_(view), timer_(interval, false, feed) {
        view.surface->onVisibilityChanged().listen(owner_, [this, feed](bool isVisible) {
            if (!isVisible) {
                timer_.suspend();
                return;
            }
            feed();
            timer_.start();
        });
    }

    [[nodiscard]] SentrelView* view() const { return view_; }

private:
    SentrelView* view_;
    sentrel::Timer timer_;
    const std::shared_ptr<int> owner_ = std::make_shared<int>();
};

std::unique_ptr<Fed> makeBoard(sentrel::System& system) {
    const auto settings = std::make_shared<dashboard::Settings>();
    const auto board = std::make_shared<dashboard::Board>(system, *settings);
    board->setFrame({0, 0, boardWidth, board->heightFor(boardWidth)}); // the window's first size
    return std::make_unique<Fed>([[SentrelView alloc] initWithView:board], [board, settings] { board->refresh(); });
}

std::unique_ptr<Fed> makeRing(const sentrel::System& system) {
    const auto ring = std::make_shared<sentrel::GaugeCircleChart>(sentrel::Rect{0, 0, ringSize, ringSize});
    ring->setLineWidth(ringWidth);
    ring->setAccessibilityName("Processor");
    return std::make_unique<Fed>([[RingView alloc] initWithView:ring],
                                 [ring, &system] { ring->setPercent(system.cpu().usage()); });
}

} // namespace

/// The program: one window, one item of the status bar.
@interface Dashboard : NSObject <NSApplicationDelegate>
@end

@implementation Dashboard {
    NSWindow* _window;
    NSStatusItem* _item;
    std::unique_ptr<Fed> _board;
    std::unique_ptr<Fed> _ring;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    sentrel::System& system = sentrel::System::shared();
    system.start();
    system.start(system.disk());
    system.start(system.apps());
    [self showMenu];
    [self showBoardOf:system];
    [self showRingOf:system];
    [NSApp activateIgnoringOtherApps:YES];
}

- (void)showMenu {
    NSMenu* const program = [[NSMenu alloc] init];
    [program addItemWithTitle:@"Quit" action:@selector(terminate:) keyEquivalent:@"q"];
    NSMenuItem* const item = [[NSMenuItem alloc] init];
    item.submenu = program;
    NSApp.mainMenu = [[NSMenu alloc] init];
    [NSApp.mainMenu addItem:item];
}

- (void)showBoardOf:(sentrel::System&)system {
    _board = makeBoard(system);
    const NSRect content = {NSZeroPoint, _board->view().intrinsicContentSize};
    _window = [[NSWindow alloc] initWithContentRect:content
                                          styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                                    NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable
                                            backing:NSBackingStoreBuffered
                                              defer:NO];
    _window.releasedWhenClosed = NO;
    _window.title = @"Dashboard";
    _window.contentView = _board->view();
    [_window center];
    [_window makeKeyAndOrderFront:nil];
}

- (void)showRingOf:(const sentrel::System&)system {
    _ring = makeRing(system);
    _item = [NSStatusBar.systemStatusBar statusItemWithLength:NSSquareStatusItemLength];
    NSButton* const button = _item.button;
    button.target = self;
    button.action = @selector(showWindow);
    SentrelView* const ring = _ring->view();
    ring.translatesAutoresizingMaskIntoConstraints = NO;
    [button addSubview:ring];
    [NSLayoutConstraint activateConstraints:@[
        [ring.centerXAnchor constraintEqualToAnchor:button.centerXAnchor],
        [ring.centerYAnchor constraintEqualToAnchor:button.centerYAnchor]
    ]];
}

- (void)showWindow {
    [_window makeKeyAndOrderFront:nil];
    [NSApp activateIgnoringOtherApps:YES];
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)application hasVisibleWindows:(BOOL)hasVisibleWindows {
    if (!hasVisibleWindows)
        [self showWindow];
    return YES;
}

@end

int main() {
    @autoreleasepool {
        [NSApplication sharedApplication];
        [NSApp setActivationPolicy:NSApplicationActivationPolicyRegular];
        Dashboard* const dashboard = [[Dashboard alloc] init];
        NSApp.delegate = dashboard; // which does not keep it
        [NSApp run];
    }
}
