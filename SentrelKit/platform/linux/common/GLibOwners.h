// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/Owner.h>

#include <glib-object.h>

namespace sentrel::platform {

template <class Object>
using ObjectPointer = Owner<Object, g_object_unref>;
using VariantPointer = Owner<GVariant, g_variant_unref>;
using ErrorPointer = Owner<GError, g_error_free>;
using TextPointer = Owner<char, g_free>; ///< a text in GLib's memory

} // namespace sentrel::platform
