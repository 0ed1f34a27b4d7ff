#include "OrvSdkRpc/server/ScopedNamespace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <system_error>

namespace OrvSdkRpc {
namespace {

ino_t currentNamespace() {
   struct stat status {};
   EXPECT_EQ(stat("/proc/thread-self/ns/net", &status), 0);
   return status.st_ino;
}

TEST(ScopedNamespace, theEmptyNameStays) {
   const ino_t before = currentNamespace();
   const ScopedNamespace inside("");
   EXPECT_EQ(currentNamespace(), before);
}

TEST(ScopedNamespace, anUnknownNameIsRefusedInWords) {
   const ino_t before = currentNamespace();
   try {
      const ScopedNamespace inside("no-such-namespace");
      FAIL() << "entered";
   } catch (const std::system_error& e) {
      EXPECT_NE(std::string(e.what()).find("'no-such-namespace'"), std::string::npos);
   }
   EXPECT_EQ(currentNamespace(), before);
}

}  // namespace
}  // namespace OrvSdkRpc
