// Makes a test fail that ends the process: a failure of the program ends it with status 0, which
// would pass for success.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

pid_t process_of_tests = 0;

void FailIfATestIsRunning() {
  // Children of the tests may end in this way.
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  if (getpid() != process_of_tests || test == nullptr) return;
  std::fflush(nullptr);
  std::fprintf(stderr, "\nThe test %s.%s has ended the process.\n", test->test_suite_name(),
               test->name());
  _exit(1);
}

const bool installed = [] {
  process_of_tests = getpid();
  // Asked for once before, so that it is still there when the process ends.
  testing::UnitTest::GetInstance();
  return std::atexit(FailIfATestIsRunning) == 0;
}();

TEST(ExitGuard, IsInstalled) {
  EXPECT_TRUE(installed);
}

}  // namespace
