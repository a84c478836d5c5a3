// The same work on many items, on threads.
#pragma once

#include <cstddef>
#include <functional>

namespace kivsr::speech {

// Threads for so many items: jobs, or one a processor for 0, and no more than there are items.
std::size_t batch_threads(int jobs, std::size_t items);

// act(worker, item) for the items 0 .. items - 1, begun in their order, worker below threads; what one worker does, it
// does in turn. Rethrows what was thrown for the first of the items that failed, whatever the threads: those before it
// are done, none is begun that was not when it failed. Where the system gives fewer threads, fewer do the same.
void run_batch(std::size_t items, std::size_t threads,
               const std::function<void(std::size_t worker, std::size_t item)>& act);

}  // namespace kivsr::speech
