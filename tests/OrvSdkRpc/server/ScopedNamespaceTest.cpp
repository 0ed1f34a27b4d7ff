#include "OrvSdkRpc/server/ScopedNamespace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>
#include <thread>

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

// Makes the calling thread's own view of the files and, in it, a namespace "inside". False where the thread
// may not.
bool namespaceMade(ino_t& inside) {
   const int outside = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
   if (unshare(CLONE_NEWNS | CLONE_NEWNET) != 0) {
      close(outside);
      return false;
   }
   bool made = mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("none", "/run", "tmpfs", 0, nullptr) == 0 && mkdir("/run/netns", 0755) == 0;
   const int file = open("/run/netns/inside", O_CREAT | O_CLOEXEC, 0600);
   made = made && mount("/proc/thread-self/ns/net", "/run/netns/inside", nullptr, MS_BIND, nullptr) == 0;
   inside = currentNamespace();
   EXPECT_EQ(setns(outside, CLONE_NEWNET), 0);
   close(file);
   close(outside);
   return made;
}

TEST(ScopedNamespace, aNameIsEnteredAndLeft) {
   // What it makes goes with it.
   bool made = false;
   std::thread([&] {
      const ino_t before = currentNamespace();
      ino_t there = 0;
      made = namespaceMade(there);
      if (!made) return;
      EXPECT_NE(there, before);
      {
         const ScopedNamespace inside("inside");
         EXPECT_EQ(currentNamespace(), there);
      }
      EXPECT_EQ(currentNamespace(), before);
   }).join();
   if (!made) GTEST_SKIP() << "needs the right to make network namespaces";
}

}  // namespace
}  // namespace OrvSdkRpc
