// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Mutex/Atomic.h>

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

TEST(Atomic, SwapReturnsTheValueBefore) {
    Atomic<int> box(3);
    EXPECT_EQ(box.swap(5), 3);
    EXPECT_EQ(box.value(), 5);
}

TEST(Atomic, ModifyReturnsTheValueBefore) {
    Atomic<int> box(1);
    EXPECT_EQ(box.modify([](int value) { return value + 1; }), 1);
    EXPECT_EQ(box.value(), 2);
}

TEST(Atomic, SetValueReplacesTheValue) {
    Atomic<std::string> box("before");
    box.setValue("after");
    EXPECT_EQ(box.value(), "after");
}

TEST(Atomic, KeepsItsValueAndGivesTheLockBackWhenModifyThrows) {
    Atomic<std::string> box("kept");
    EXPECT_THROW(box.modify([](std::string value) -> std::string {
        value += " no more";
        throw std::runtime_error("action");
    }),
                 std::runtime_error);
    EXPECT_EQ(box.value(), "kept");
}

TEST(Atomic, GivesTheLockBackWhenWithValueThrows) {
    Atomic<int> box(1);
    EXPECT_THROW(box.withValue([](int&) { throw std::runtime_error("action"); }), std::runtime_error);
    EXPECT_EQ(box.value(), 1);
}

TEST(Atomic, WithValueAppendsInPlaceAndReturnsTheNewCount) {
    Atomic<std::vector<int>> box;
    const auto append = [](int x) {
        return [x](std::vector<int>& values) {
            values.push_back(x);
            return values.size();
        };
    };
    EXPECT_EQ(box.withValue(append(7)), 1U);
    EXPECT_EQ(box.withValue(append(8)), 2U);
    EXPECT_EQ(box.value(), (std::vector<int>{7, 8}));
}

TEST(Atomic, WithValueReturnsACopyThatOutlivesTheLock) {
    Atomic<std::string> box("text");
    const auto whole = box.withValue([](std::string& value) -> std::string& { return value; });
    static_assert(std::is_same_v<decltype(whole), const std::string>);
    box.setValue("other");
    EXPECT_EQ(whole, "text");
}

TEST(Atomic, ReadsAConstantBoxInPlace) {
    const Atomic<std::string> box("four");
    EXPECT_EQ(box.withValue([](const std::string& value) { return value.size(); }), 4U);
}

TEST(Atomic, HoldsAValueThatIsNotCopyable) {
    Atomic<std::unique_ptr<int>> box(std::make_unique<int>(1));
    EXPECT_EQ(*box.swap(std::make_unique<int>(2)), 1);
    EXPECT_EQ(box.withValue([](const std::unique_ptr<int>& value) { return *value; }), 2);
}

TEST(Atomic, ReleasesAReplacedValueOutsideTheLock) {
    // A destructor that looks at the box would deadlock under the lock.
    struct Looks {
        Atomic<std::shared_ptr<Looks>>* box = nullptr;
        bool* sawSuccessor = nullptr;
        ~Looks() {
            if (box)
                *sawSuccessor = box->value() == nullptr;
        }
    };
    bool sawSuccessor = false;
    Atomic<std::shared_ptr<Looks>> box;
    box.setValue(std::make_shared<Looks>(Looks{nullptr, nullptr}));
    box.withValue([&](std::shared_ptr<Looks>& looks) {
        looks->box = &box;
        looks->sawSuccessor = &sawSuccessor;
    });
    box.setValue(nullptr);
    EXPECT_TRUE(sawSuccessor);
}

TEST(Atomic, LosesNoChangeOfTwoThreads) {
    Atomic<int> box(0);
    const auto add = [&] {
        for (int i = 0; i < 10'000; ++i)
            box.modify([](int value) { return value + 1; });
    };
    std::thread first(add);
    std::thread second(add);
    first.join();
    second.join();
    EXPECT_EQ(box.value(), 20'000);
}

} // namespace
} // namespace sentrel
