// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/layers/MediaTime.h>

// Names nothing of the core library, which the drawing one needs.
int main() {
    return sentrel::mediaTime() > 0 ? 0 : 1;
}
