#include "softswitch/console/listener.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "ConsoleClient.h"
#include "testing/base/TempDir.h"

namespace softswitch::console {
namespace {

class ListenerTest : public testing::Test {
protected:
   void SetUp() override {
      path_ = directory_ / "console.sock";
      address_ = Address::parse("unix:" + path_.string());
   }

   std::string refusal() {
      try {
         Listener listener(address_);
      } catch (const std::runtime_error& e) {
         return e.what();
      }
      return "(accepted)";
   }

   // Leaves the socket file of a server that has died.
   void leaveStaleSocket() {
      const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
      sockaddr_un to{};
      to.sun_family = AF_UNIX;
      address_.path.copy(to.sun_path, sizeof(to.sun_path) - 1);
      ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&to), sizeof(to)), 0);
      ::listen(fd, 1);
      ::close(fd);
   }

   const orvtest::TempDir directory_;
   std::filesystem::path path_;
   Address address_;
};

TEST_F(ListenerTest, makesTheFileForOwnerAndGroupAndRemovesIt) {
   const auto before = ::umask(0);
   {
      Listener listener(address_);
      struct stat file {};
      ASSERT_EQ(::stat(path_.c_str(), &file), 0);
      EXPECT_TRUE(S_ISSOCK(file.st_mode));
      EXPECT_EQ(file.st_mode & 07777, 0660u);
   }
   ::umask(before);
   EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ListenerTest, modeDoesNotDependOnTheUmask) {
   const auto before = ::umask(077);
   {
      Listener listener(address_);
      struct stat file {};
      ASSERT_EQ(::stat(path_.c_str(), &file), 0);
      EXPECT_EQ(file.st_mode & 07777, 0660u);
   }
   ::umask(before);
}

TEST_F(ListenerTest, replacesAStaleSocket) {
   leaveStaleSocket();
   ASSERT_TRUE(std::filesystem::exists(path_));
   Listener listener(address_);
   EXPECT_TRUE(ConsoleClient(address_).connected());
}

TEST_F(ListenerTest, refusesALivingSocketAndLeavesIt) {
   Listener first(address_);
   EXPECT_EQ(refusal(), "console address '" + address_.text() + "': another process listens there");
   EXPECT_TRUE(ConsoleClient(address_).connected());
}

TEST_F(ListenerTest, refusesAnotherKindOfFileAndLeavesIt) {
   std::ofstream(path_) << "precious";
   EXPECT_EQ(refusal(), "console address '" + address_.text() + "': the file exists and is not a socket");
   EXPECT_EQ(std::filesystem::file_size(path_), 8u);
}

TEST_F(ListenerTest, refusesADirectoryThatIsNotThere) {
   address_.path = directory_ / "absent/console.sock";
   EXPECT_EQ(refusal(), "console address '" + address_.text() + "': No such file or directory");
}

TEST_F(ListenerTest, doesNotRemoveASuccessorsFile) {
   auto first = std::make_unique<Listener>(address_);
   std::filesystem::rename(path_, directory_ / "moved");
   Listener second(address_);
   first.reset();
   EXPECT_TRUE(ConsoleClient(address_).connected());
}

TEST_F(ListenerTest, tellsThePortThatTheSystemChose) {
   Listener listener(Address::parse("127.0.0.1:0"));
   EXPECT_NE(listener.address().port, 0);
   EXPECT_TRUE(ConsoleClient(listener.address()).connected());
   try {
      Listener second(listener.address());
      FAIL() << "was accepted";
   } catch (const std::runtime_error& e) {
      EXPECT_EQ(std::string(e.what()),
                "console address '" + listener.address().text() + "': Address already in use");
   }
}

}  // namespace
}  // namespace softswitch::console
