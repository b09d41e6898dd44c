// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

/// Expects that the statement ends the process abnormally with a report that holds the text.
#define EXPECT_STOPS(statement, text)                                                                                  \
    EXPECT_EXIT(static_cast<void>(statement), ::testing::KilledBySignal(SIGABRT), ::testing::HasSubstr(text))

/// Expects that the statement breaks a precondition, with exactly this condition text, checked in this function.
#define EXPECT_BREAKS(statement, condition, function)                                                                  \
    EXPECT_STOPS(statement, "Assertion failed: (" condition "), function " function ", file ")
