#include "OrvSdkRpc/server/ScopedNamespace.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "OrvSdkRpc/server/Assert.h"

namespace OrvSdkRpc {
namespace {

[[noreturn]] void fail(int error, const std::string& name) {
   throw std::system_error(error, std::generic_category(), "cannot enter network namespace '" + name + "'");
}

}  // namespace

ScopedNamespace::ScopedNamespace(const std::string& name) {
   if (name.empty()) return;
   const int target = open(("/run/netns/" + name).c_str(), O_RDONLY | O_CLOEXEC);
   if (target < 0) fail(errno, name);
   previous_ = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
   const int entered = previous_ < 0 ? -1 : setns(target, CLONE_NEWNET);
   const int error = errno;
   close(target);
   if (entered != 0) {
      if (previous_ >= 0) close(previous_);
      fail(error, name);
   }
}

ScopedNamespace::~ScopedNamespace() {
   if (previous_ < 0) return;
   assertThat(setns(previous_, CLONE_NEWNET) == 0, "setns(previous_, CLONE_NEWNET) == 0");
   close(previous_);
}

}  // namespace OrvSdkRpc
