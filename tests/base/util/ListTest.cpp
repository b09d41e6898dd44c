// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/List.h>

#include "tests/support/Stops.h"
#include <SentrelKit/base/system/Mem.h>

#include <deque>
#include <random>
#include <set>
#include <vector>

namespace sentrel {
namespace {

int elements[100];

void* element(int i) {
    return &elements[i];
}

/// A list for a scope.
class TestList {
public:
    TestList() : list_(List_new()) {}
    TestList(std::initializer_list<int> indices) : TestList() {
        for (const int i : indices)
            List_append(list_, element(i));
    }
    ~TestList() { List_free(&list_); }
    TestList(const TestList&) = delete;
    TestList& operator=(const TestList&) = delete;

    operator List*() const { return list_; }

    /// The indices of the elements in order.
    [[nodiscard]] std::vector<int> indices() const {
        void** array = List_toArray(list_);
        std::vector<int> indices;
        for (void** e = array; *e; ++e)
            indices.push_back(static_cast<int>(static_cast<int*>(*e) - elements));
        Mem_free(array);
        EXPECT_EQ(static_cast<std::size_t>(List_length(list_)), indices.size());
        return indices;
    }

private:
    List* list_;
};

using Indices = std::vector<int>;

TEST(List, IsEmptyAtFirst) {
    const TestList list;
    EXPECT_EQ(List_length(list), 0);
    EXPECT_EQ(List_pop(list), nullptr);
    void** array = List_toArray(list);
    EXPECT_EQ(array[0], nullptr);
    Mem_free(array);
}

TEST(List, FreeSetsTheHandleToNone) {
    List* list = List_new();
    List_push(list, element(1));
    List_free(&list);
    EXPECT_EQ(list, nullptr);
}

TEST(List, PushesAtTheFrontAndAppendsAtTheEnd) {
    const TestList list;
    List_push(list, element(2));
    List_append(list, element(3));
    List_push(list, element(1));
    List_append(list, element(4));
    EXPECT_EQ(list.indices(), (Indices{1, 2, 3, 4}));
}

TEST(List, PopsFromTheFront) {
    const TestList list{1, 2};
    EXPECT_EQ(List_pop(list), element(1));
    EXPECT_EQ(List_pop(list), element(2));
    EXPECT_EQ(List_pop(list), nullptr);
    EXPECT_EQ(List_length(list), 0);
}

TEST(List, ANodeThatLeftIsUsedAgain) {
    const TestList list;
    const ListNode* node = List_push(list, element(1));
    List_pop(list);
    EXPECT_EQ(List_push(list, element(2)), node);
    List_pop(list);
    EXPECT_EQ(List_append(list, element(3)), node);
    EXPECT_EQ(List_remove(list, element(3)), element(3));
    EXPECT_EQ(List_push(list, element(4)), node);
    List_clear(list);
    EXPECT_EQ(List_append(list, element(5)), node);
    EXPECT_EQ(list.indices(), Indices{5});
}

TEST(List, RemovesTheFirstOccurrenceOnly) {
    const TestList list{1, 2, 1, 3};
    EXPECT_EQ(List_remove(list, element(1)), element(1));
    EXPECT_EQ(list.indices(), (Indices{2, 1, 3}));
    EXPECT_EQ(List_remove(list, element(9)), nullptr);
    EXPECT_EQ(List_remove(list, nullptr), nullptr);
    EXPECT_EQ(list.indices(), (Indices{2, 1, 3}));
}

TEST(List, RemovesByIdentityAndNotByContent) {
    int a = 5;
    int b = 5;
    const TestList list;
    List_append(list, &a);
    EXPECT_EQ(List_remove(list, &b), nullptr);
    EXPECT_EQ(List_remove(list, &a), &a);
}

TEST(List, AppendsAfterTheTailWasRemoved) {
    const TestList list{1, 2, 3};
    List_remove(list, element(3));
    List_append(list, element(4));
    EXPECT_EQ(list.indices(), (Indices{1, 2, 4}));
    const TestList one{1};
    List_remove(one, element(1));
    List_append(one, element(2));
    EXPECT_EQ(one.indices(), Indices{2});
}

TEST(List, AMissingElementCanBeHeldButNotRemoved) {
    const TestList list;
    List_push(list, nullptr);
    EXPECT_EQ(List_length(list), 1);
    EXPECT_EQ(List_remove(list, nullptr), nullptr);
    EXPECT_EQ(List_length(list), 1);
}

TEST(List, CatLeavesTheSecondListAsItIs) {
    const TestList list{1, 2};
    const TestList second{3, 4};
    List_cat(list, second);
    EXPECT_EQ(list.indices(), (Indices{1, 2, 3, 4}));
    EXPECT_EQ(second.indices(), (Indices{3, 4}));
    const TestList empty;
    List_cat(list, empty);
    EXPECT_EQ(List_length(list), 4);
    List_cat(empty, list);
    EXPECT_EQ(empty.indices(), (Indices{1, 2, 3, 4}));
}

TEST(List, AppendedToItselfIsLeftUnchanged) {
    const TestList list{1, 2};
    List_cat(list, list);
    EXPECT_EQ(list.indices(), (Indices{1, 2}));
}

TEST(List, ReversesInPlace) {
    const TestList list{1, 2, 3};
    List_reverse(list);
    EXPECT_EQ(list.indices(), (Indices{3, 2, 1}));
    List_append(list, element(0));
    EXPECT_EQ(list.indices(), (Indices{3, 2, 1, 0}));
    const TestList empty;
    List_reverse(empty);
    List_append(empty, element(1));
    EXPECT_EQ(empty.indices(), Indices{1});
}

// Linking an old tail to the kept nodes closed a circle and lost them.
TEST(List, ClearingAListThatWasEmptiedByPopKeepsItsNodes) {
    const TestList list;
    std::set<const ListNode*> nodes;
    for (int i = 1; i <= 3; ++i)
        nodes.insert(List_append(list, element(i)));
    while (List_pop(list)) {
    }
    List_clear(list);
    List_clear(list);
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(nodes.erase(List_append(list, element(i))), 1U);
    EXPECT_EQ(list.indices(), (Indices{1, 2, 3}));
}

TEST(List, ClearingAListThatWasEmptiedByRemoveKeepsItsNodes) {
    const TestList list;
    const ListNode* node = List_push(list, element(1));
    List_remove(list, element(1));
    List_clear(list);
    EXPECT_EQ(List_push(list, element(2)), node);
}

TEST(List, AgreesWithAPlainSequenceOverManySteps) {
    const TestList list;
    std::deque<int> model;
    std::mt19937 random(1);
    for (int step = 0; step < 20000; ++step) {
        const int i = static_cast<int>(random() % 20);
        switch (random() % 16) {
        case 0:
            List_clear(list);
            model.clear();
            break;
        case 1:
            List_reverse(list);
            model = {model.rbegin(), model.rend()};
            break;
        case 2:
        case 3:
        case 4:
        case 5:
        case 6: {
            void* popped = List_pop(list);
            ASSERT_EQ(popped, model.empty() ? nullptr : element(model.front()));
            if (!model.empty())
                model.pop_front();
            break;
        }
        case 7:
        case 8:
        case 9: {
            const auto found = std::find(model.begin(), model.end(), i);
            ASSERT_EQ(List_remove(list, element(i)), found == model.end() ? nullptr : element(i));
            if (found != model.end())
                model.erase(found);
            break;
        }
        case 10:
        case 11:
        case 12:
            List_push(list, element(i));
            model.push_front(i);
            break;
        default:
            List_append(list, element(i));
            model.push_back(i);
        }
        ASSERT_EQ(list.indices(), Indices(model.begin(), model.end())) << "step " << step;
    }
}

TEST(ListDeathTest, EveryFunctionNeedsAList) {
    List* none = nullptr;
    EXPECT_BREAKS(List_free(nullptr), "L && *L", "List_free");
    EXPECT_BREAKS(List_free(&none), "L && *L", "List_free");
    EXPECT_BREAKS(List_push(none, element(1)), "L", "List_push");
    EXPECT_BREAKS(List_append(none, element(1)), "L", "List_append");
    EXPECT_BREAKS(List_pop(none), "L", "List_pop");
    EXPECT_BREAKS(List_remove(none, element(1)), "L", "List_remove");
    EXPECT_BREAKS(List_reverse(none), "L", "List_reverse");
    EXPECT_BREAKS(List_length(none), "L", "List_length");
    EXPECT_BREAKS(List_clear(none), "L", "List_clear");
    EXPECT_BREAKS(List_toArray(none), "L", "List_toArray");
    const TestList list;
    EXPECT_BREAKS(List_cat(none, list), "L", "List_cat");
    EXPECT_BREAKS(List_cat(list, none), "list", "List_cat");
}

} // namespace
} // namespace sentrel
