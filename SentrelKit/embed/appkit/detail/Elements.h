// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A surface's elements for assistive technology, as AppKit asks for them. For Objective-C++ with ARC; main thread.

#include <SentrelKit/views/Surface.h>

#import <AppKit/AppKit.h>

#include <map>
#include <vector>

@class SentrelElement;

namespace sentrel {

/// The elements of the surface that a view of AppKit shows. An element is the same object for as long as its view is
/// told of. Nothing is gathered before the first question.
class Elements {
public:
    /// Neither is kept; the surface outlives this.
    Elements(NSView* host, Surface& surface) : host_(host), surface_(surface) {}
    ~Elements();
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;

    /// Those that lie in no other, as the surface is now.
    [[nodiscard]] NSArray* top();

    /// The innermost one at a point of the screen, or nil.
    [[nodiscard]] id at(NSPoint point);

    /// The one that keys go to, or nil.
    [[nodiscard]] id focused();

    /// To be called when something was drawn anew: posts what changed. Does nothing before the first question.
    void refresh();

private:
    using Known = std::map<View*, SentrelElement*>;

    void gather();
    [[nodiscard]] NSArray* take(const std::vector<AccessibleElement>& told, id parent, Known& before);

    __weak NSView* const host_;
    Surface& surface_;
    Known known_;
    NSArray* top_ = nil;
};

} // namespace sentrel
