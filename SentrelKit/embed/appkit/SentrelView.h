// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A tree of views in a window, a panel or a status item of AppKit. For Objective-C++ with ARC; main thread.

#include <SentrelKit/views/View.h>

#import <AppKit/AppKit.h>

#include <memory>

/// Shows a view without superview, at the size that AppKit gives and at the scale of its screen. It is redrawn where it
/// changes, sixty times a second while something on it animates and somebody can see it, and not otherwise. The view
/// hears of the pointer, and assistive technology hears what it shows.
SENTREL_API
@interface SentrelView : NSView

/// Shows a view, which it keeps and whose display handler it takes. The frame is the view's to begin with.
- (instancetype)initWithView:(std::shared_ptr<sentrel::View>)view NS_DESIGNATED_INITIALIZER;

- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;

/// The view that is shown.
@property(nonatomic, readonly) std::shared_ptr<sentrel::View> view;

@end
