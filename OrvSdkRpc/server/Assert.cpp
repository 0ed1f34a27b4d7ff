#include "OrvSdkRpc/server/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace OrvSdkRpc {

void assertionFailed(const char* expression, const char* file, int line) {
   std::fprintf(stderr, "%s:%d: Assertion `%s' failed.\n", file, line, expression);
   std::abort();
}

}  // namespace OrvSdkRpc
