#include "player/src/util/mt/rflags.h"

#include <atomic>

namespace {
std::atomic<int> divx_visible{0};
std::atomic<int> ktv_vod_enabled{0};
}  // namespace

int rflags_divx_visible(void) { return divx_visible.load(std::memory_order_relaxed); }

void rflags_set_divx_visible(int visible) { divx_visible.store(visible != 0, std::memory_order_relaxed); }

int rflags_ktv_vod_enabled(void) { return ktv_vod_enabled.load(std::memory_order_relaxed); }

void rflags_set_ktv_vod_enabled(int enabled) { ktv_vod_enabled.store(enabled != 0, std::memory_order_relaxed); }
