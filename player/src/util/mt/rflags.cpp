#include "player/src/util/mt/rflags.h"

#include <atomic>

namespace {
std::atomic<int> divx_visible{0};
}  // namespace

int rflags_divx_visible(void) { return divx_visible.load(std::memory_order_relaxed); }

void rflags_set_divx_visible(int visible) { divx_visible.store(visible != 0, std::memory_order_relaxed); }
