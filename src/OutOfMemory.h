// What happens when memory runs out: a message instead of an exception that nobody catches.
#ifndef RAVELO_OUTOFMEMORY_H
#define RAVELO_OUTOFMEMORY_H

namespace orvane {

/// From now on, a failed `new` ends the run with the message "Out of memory.", like any other
/// failure (see `FailAt`).
void EndRunWhenOutOfMemory();

}  // namespace orvane

#endif
