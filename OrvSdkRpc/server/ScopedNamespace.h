// A scope in another network namespace.
//
// Thread-safety: moves the calling thread only; must be destroyed by the thread that made it.
#pragma once

#include <string>

namespace OrvSdkRpc {

class ScopedNamespace {
public:
   // Enters the namespace of that name, as `ip netns` keeps them under /run/netns; the empty name stays where
   // the thread is. Throws std::system_error naming the namespace if it cannot be entered.
   explicit ScopedNamespace(const std::string& name);
   // Back to where the thread was. Ends the process if that fails: the thread would be in the wrong network.
   ~ScopedNamespace();
   ScopedNamespace(const ScopedNamespace&) = delete;
   ScopedNamespace& operator=(const ScopedNamespace&) = delete;

private:
   int previous_ = -1;
};

}  // namespace OrvSdkRpc
