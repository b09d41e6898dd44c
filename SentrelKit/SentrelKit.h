// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Everything that a host program uses. A host that draws nothing may include the headers of `system` and `settings`
/// one by one and link SentrelKit::Core alone. A host that draws on a context of the drawing system includes its canvas
/// besides: <SentrelKit/views/drawing/cairo/CairoCanvas.h>, or on macOS
/// <SentrelKit/views/drawing/coregraphics/CoreGraphicsCanvas.h>.

#include <SentrelKit/Version.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/probes/NetworkProbes.h>
#include <SentrelKit/settings/DefaultsKey.h>
#include <SentrelKit/settings/Number.h>
#include <SentrelKit/settings/PropertyListCoder.h>
#include <SentrelKit/settings/SharedDefaults.h>
#include <SentrelKit/settings/UserDefaults.h>
#include <SentrelKit/system/Applications.h>
#include <SentrelKit/system/Battery.h>
#include <SentrelKit/system/CPU.h>
#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/GPU.h>
#include <SentrelKit/system/Memory.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/Mutex/Mutex.h>
#include <SentrelKit/system/Network.h>
#include <SentrelKit/system/Notification.h>
#include <SentrelKit/system/Signal.h>
#include <SentrelKit/system/System.h>
#include <SentrelKit/system/SystemResource.h>
#include <SentrelKit/system/Time.h>
#include <SentrelKit/system/Timer.h>
#include <SentrelKit/views/Accessibility.h>
#include <SentrelKit/views/Bar.h>
#include <SentrelKit/views/Circle.h>
#include <SentrelKit/views/CircleChart.h>
#include <SentrelKit/views/Coder.h>
#include <SentrelKit/views/Control.h>
#include <SentrelKit/views/EventRouter.h>
#include <SentrelKit/views/Events.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/Glyph.h>
#include <SentrelKit/views/HorizontalLine.h>
#include <SentrelKit/views/LineChart.h>
#include <SentrelKit/views/PieChart.h>
#include <SentrelKit/views/Shape.h>
#include <SentrelKit/views/Square.h>
#include <SentrelKit/views/Stack.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/Thermometer.h>
#include <SentrelKit/views/Triangle.h>
#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Color.h>
#include <SentrelKit/views/drawing/Font.h>
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/drawing/Path.h>
#include <SentrelKit/views/drawing/Picture.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>
#include <SentrelKit/views/layers/Animation.h>
#include <SentrelKit/views/layers/Layer.h>
#include <SentrelKit/views/layers/MediaTime.h>
