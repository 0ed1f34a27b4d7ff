// Moves a thread to another network namespace for a scope.
//
// Thread-safety: affects only the calling thread, which must also destroy the object.
#pragma once

#include <string>

namespace OrvSdkRpc {

class ScopedNamespace {
public:
   // Enters the named namespace, one of those that `ip netns` keeps under /run/netns. An empty name is a
   // no-op.
   // THROWS: std::system_error, naming the namespace, if it cannot be entered.
   explicit ScopedNamespace(const std::string& name);
   // Returns to the previous namespace. Aborts the process if that fails: the thread would be in the wrong
   // network.
   ~ScopedNamespace();
   ScopedNamespace(const ScopedNamespace&) = delete;
   ScopedNamespace& operator=(const ScopedNamespace&) = delete;

private:
   int previous_ = -1;
};

}  // namespace OrvSdkRpc
