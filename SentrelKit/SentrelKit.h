#pragma once

/// Everything that a host program uses. A host that draws nothing may include the headers of `system` and `settings`
/// one by one and link SentrelKit::Core alone.

#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/Signal.h>
#include <SentrelKit/system/System.h>
#include <SentrelKit/system/Time.h>
#include <SentrelKit/system/Timer.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/canvas/Picture.h>
