// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/List.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/Mem.h>

namespace sentrel {

struct ListNode {
    void* element;
    ListNode* next;
};

struct List {
    std::int32_t length;
    ListNode* head;
    ListNode* tail;     // right whenever there is a head; a list that was emptied may leave an old one
    ListNode* freelist; // nodes kept for reuse
};

namespace {

ListNode* new_node(List* L, void* element, ListNode* next) noexcept {
    ListNode* node = L->freelist;
    if (node)
        L->freelist = node->next;
    else
        node = static_cast<ListNode*>(Mem_alloc(sizeof(ListNode)));
    node->element = element;
    node->next = next;
    return node;
}

void recycle(List* L, ListNode* node) noexcept {
    node->next = L->freelist;
    L->freelist = node;
    --L->length;
}

void freeNodes(ListNode* node) noexcept {
    while (node) {
        ListNode* next = node->next;
        Mem_free(node);
        node = next;
    }
}

} // namespace

List* List_new() noexcept {
    return static_cast<List*>(Mem_calloc(1, sizeof(List)));
}

void List_free(List** L) noexcept {
    SENTREL_ASSERT(L && *L);
    freeNodes((*L)->head);
    freeNodes((*L)->freelist);
    Mem_free(*L);
    *L = nullptr;
}

ListNode* List_push(List* L, void* element) noexcept {
    SENTREL_ASSERT(L);
    ListNode* node = new_node(L, element, L->head);
    if (!L->head)
        L->tail = node;
    L->head = node;
    ++L->length;
    return node;
}

ListNode* List_append(List* L, void* element) noexcept {
    SENTREL_ASSERT(L);
    ListNode* node = new_node(L, element, nullptr);
    if (L->head)
        L->tail->next = node;
    else
        L->head = node;
    L->tail = node;
    ++L->length;
    return node;
}

void* List_pop(List* L) noexcept {
    SENTREL_ASSERT(L);
    ListNode* node = L->head;
    if (!node)
        return nullptr;
    L->head = node->next;
    recycle(L, node);
    return node->element;
}

void* List_remove(List* L, void* element) noexcept {
    SENTREL_ASSERT(L);
    if (!element)
        return nullptr;
    ListNode* previous = nullptr;
    ListNode* node = L->head;
    while (node && node->element != element) {
        previous = node;
        node = node->next;
    }
    if (!node)
        return nullptr;
    if (!previous) {
        L->head = node->next;
    } else {
        previous->next = node->next;
        if (L->tail == node)
            L->tail = previous;
    }
    recycle(L, node);
    return element;
}

void List_cat(List* L, List* list) noexcept {
    SENTREL_ASSERT(L);
    SENTREL_ASSERT(list);
    if (L == list)
        return;
    for (const ListNode* node = list->head; node; node = node->next)
        List_append(L, node->element);
}

void List_reverse(List* L) noexcept {
    SENTREL_ASSERT(L);
    ListNode* reversed = nullptr;
    L->tail = L->head;
    for (ListNode* node = L->head; node;) {
        ListNode* next = node->next;
        node->next = reversed;
        reversed = node;
        node = next;
    }
    L->head = reversed;
}

std::int32_t List_length(List* L) noexcept {
    SENTREL_ASSERT(L);
    return L->length;
}

void List_clear(List* L) noexcept {
    SENTREL_ASSERT(L);
    // Without a head the tail may be an old node that is already kept: linking it would lose the others.
    if (L->head) {
        L->tail->next = L->freelist;
        L->freelist = L->head;
    }
    L->head = nullptr;
    L->tail = nullptr;
    L->length = 0;
}

void** List_toArray(List* L) noexcept {
    SENTREL_ASSERT(L);
    auto** array = static_cast<void**>(Mem_alloc((std::int64_t{L->length} + 1) * std::int64_t{sizeof(void*)}));
    void** end = array;
    for (const ListNode* node = L->head; node; node = node->next)
        *end++ = node->element;
    *end = nullptr;
    return array;
}

} // namespace sentrel
