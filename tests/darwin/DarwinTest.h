// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"
#include "tests/darwin/doubles/Queues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace darwin {

/// A test on a new simulated machine, after which the code under test holds nothing any more and has released nothing
/// twice. What the test makes is local to it.
class DarwinTest : public testing::Test {
protected:
    void SetUp() override { begin(); }
    void TearDown() override {
        queues::finalize();
        EXPECT_THAT(ledger::close(), testing::IsEmpty());
    }
};

} // namespace darwin
