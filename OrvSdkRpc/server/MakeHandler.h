// Creates a handler with one allocation, counted per type.
//
// Thread-safety: any thread.
#pragma once

#include <memory>
#include <utility>

#include "platform/pavo/Allocator.h"

namespace OrvSdkRpc {

template <class Handler, class... Args>
std::shared_ptr<Handler> makeHandler(Args&&... args) {
   return std::allocate_shared<Handler>(Pavo::Allocator<Handler>(), std::forward<Args>(args)...);
}

}  // namespace OrvSdkRpc
