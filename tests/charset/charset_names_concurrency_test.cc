// Character-set names asked for by many threads at once, from a cold start.
#include <gtest/gtest.h>

#include <vector>

#include "charset/charset_names.h"
#include "tests/charset/charset_name_rows.h"
#include "tests/support/run_together.h"

namespace {

using kelulib_test::charSet;
using kelulib_test::kNames;
using kelulib_test::NameRow;

TEST(CharSetNamesConcurrency, FirstRequestsFromEightThreadsAgree) {
  // Eight threads ask for every name at once; each sees the same pointers.
  constexpr int kThreads = 8;
  std::vector<std::vector<const char*>> seen(kThreads);
  kelulib_test::runTogether(kThreads, [&seen](int t) {
    for (const NameRow& row : kNames) seen[t].push_back(KelCharSetToString(charSet(row.id)));
  });
  for (int t = 1; t < kThreads; ++t) EXPECT_EQ(seen[t], seen[0]);
  for (size_t i = 0; i < std::size(kNames); ++i) EXPECT_STREQ(seen[0][i], kNames[i].name);
}

}  // namespace
