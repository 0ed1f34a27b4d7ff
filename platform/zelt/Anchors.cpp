#include "platform/zelt/Anchors.h"

#include <atomic>

namespace Zelt {

namespace {

std::atomic<void* (*)()> gilRelease{nullptr};
std::atomic<void (*)(void*)> gilReacquire{nullptr};

}  // namespace

void gilHooksIs(GilHooks hooks) noexcept {
   gilRelease.store(hooks.release, std::memory_order_relaxed);
   gilReacquire.store(hooks.reacquire, std::memory_order_relaxed);
}

GilHooks gilHooks() noexcept {
   return {.release = gilRelease.load(std::memory_order_relaxed),
           .reacquire = gilReacquire.load(std::memory_order_relaxed)};
}

}  // namespace Zelt
