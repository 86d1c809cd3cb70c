// What happens when memory runs out.
#include "OutOfMemory.h"

#include <new>

#include "Error.h"

namespace orvane {

namespace {

void EndRun() {
  RAVELO_FAIL("Out of memory.");
}

}  // namespace

void EndRunWhenOutOfMemory() {
  std::set_new_handler(EndRun);
}

}  // namespace orvane
