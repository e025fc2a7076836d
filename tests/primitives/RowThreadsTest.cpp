// SPDX-License-Identifier: Apache-2.0
// The threads that share rows, and a process that forks.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include "Targets.h"

namespace {

using namespace Orvex::Primitives;

size_t RowsDone() {
  std::atomic<size_t> rows{0};
  SplitRows(1000, sk_minBytesToSplit, [&](size_t first, size_t last) { rows += last - first; });
  return rows;
}

TEST(RowThreadsDeathTest, LeavesAForkedChildToWorkAloneAndToEnd) {
  GTEST_FLAG_SET(death_test_style, "fast");
  const Targets::Restore restore;
  SetRowThreads(4);
  ASSERT_EQ(RowsDone(), 1000u);
  EXPECT_EXIT(std::exit(RowsDone() == 1000 ? 5 : 1), testing::ExitedWithCode(5), "");
}

}  // namespace
