// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A tree of views in a window, a panel or a status item of AppKit. For Objective-C++ with ARC; main thread.

#include <SentrelKit/views/Surface.h>

#import <AppKit/AppKit.h>

#include <memory>

/// Shows a view without superview, at the size that AppKit gives and at the scale of its screen; the view's natural
/// size is the intrinsic one, and the view follows the light or dark appearance. It is redrawn where it changes, sixty
/// times a second while something on it moves by itself, and not at all while nobody can see it. The view hears of the
/// pointer, the wheel and the keys: Tab leads through it and on to the window's next key view. Assistive technology is
/// told each element of it, and may press those that can be pressed.
SENTREL_API
@interface SentrelView : NSView

/// Shows a view, which it keeps and whose display handler it takes. The frame is the view's to begin with.
- (instancetype)initWithView:(std::shared_ptr<sentrel::View>)view NS_DESIGNATED_INITIALIZER;

/// Not there: it shows a view from the beginning.
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
/// Not there: it shows a view from the beginning.
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;

/// The view that is shown.
@property(nonatomic, readonly) std::shared_ptr<sentrel::View> view;

/// What the view is shown on, as long as this lives. Its `onVisibilityChanged` tells whether anybody can see it: not so
/// in no window, in one that is miniaturised or wholly covered, and while hidden.
@property(nonatomic, readonly) sentrel::Surface* surface;

@end
