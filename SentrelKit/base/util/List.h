// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// A singly linked list of untyped element pointers that keeps the nodes it no longer needs for later use. Elements are
/// never owned. The record is made by List_new and destroyed by List_free; every other function needs one. One thread
/// at a time may use a list.

#include <SentrelKit/Export.h>

#include <cstdint>

namespace sentrel {

struct List;     ///< A list. Only the functions here look inside.
struct ListNode; ///< A place in a list, owned by the list.

/// A new empty list.
[[nodiscard]] SENTREL_API List* List_new() noexcept;

/// Frees the list with all its nodes, those in use and those kept, and sets the caller's handle to none.
SENTREL_API void List_free(List** L) noexcept;

/// Puts an element at the front and returns its node.
SENTREL_API ListNode* List_push(List* L, void* element) noexcept;

/// Puts an element at the end and returns its node.
SENTREL_API ListNode* List_append(List* L, void* element) noexcept;

/// Removes the first node and returns its element; none if the list is empty.
SENTREL_API void* List_pop(List* L) noexcept;

/// Removes the first node whose element is this very pointer and returns the element; none if there is no such node or
/// the element is none.
SENTREL_API void* List_remove(List* L, void* element) noexcept;

/// Appends every element of a second list, which stays as it is. A list appended to itself is left unchanged.
SENTREL_API void List_cat(List* L, List* list) noexcept;

/// Reverses the order in place.
SENTREL_API void List_reverse(List* L) noexcept;

/// The number of elements.
[[nodiscard]] SENTREL_API std::int32_t List_length(List* L) noexcept;

/// Takes all elements out. The nodes are kept.
SENTREL_API void List_clear(List* L) noexcept;

/// A new array of the elements in order, followed by none. The caller releases it with Mem_free.
[[nodiscard]] SENTREL_API void** List_toArray(List* L) noexcept;

} // namespace sentrel
