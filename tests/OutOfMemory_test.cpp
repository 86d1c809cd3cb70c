// The end of a run that has no memory left.
#include "OutOfMemory.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <new>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;

// The sanitizers need all of the address space, and have an end of their own for a failed
// allocation.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHasSanitizer = true;
#elif defined(__has_feature)
constexpr bool kHasSanitizer = __has_feature(address_sanitizer);
#else
constexpr bool kHasSanitizer = false;
#endif

TEST(OutOfMemory, EndsTheRunWithAMessage) {
  EXPECT_EQ(MessageOf([] {
              EndRunWhenOutOfMemory();
              std::get_new_handler()();
            }),
            "Error occurs: Out of memory.");
}

TEST(OutOfMemory, IsNoticedWhenAnAllocationFails) {
  if (kHasSanitizer) GTEST_SKIP() << "no limit on memory under a sanitizer";
  EXPECT_EQ(MessageOf([] {
              EndRunWhenOutOfMemory();
              const rlimit limit{1 << 28, 1 << 28};
              setrlimit(RLIMIT_AS, &limit);
              std::vector<std::vector<char>> blocks;
              while (true) blocks.emplace_back(1 << 24, 'x');
            }),
            "Error occurs: Out of memory.");
}

}  // namespace
}  // namespace orvane
