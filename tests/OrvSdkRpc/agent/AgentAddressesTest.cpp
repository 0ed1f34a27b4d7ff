#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "OrvSdkRpc/agent/Agent.h"
#include "testing/base/TempDir.h"
#include "testing/server/AgentHost.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

std::string contents(const std::string& path) {
   std::ifstream in(path);
   std::ostringstream out;
   out << in.rdbuf();
   return out.str();
}

// A listening TCP socket on a port that the system chooses.
class Listener {
public:
   Listener() {
      sockaddr_in name{};
      name.sin_family = AF_INET;
      name.sin_addr.s_addr = inet_addr("127.0.0.1");
      socklen_t size = sizeof name;
      EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&name), size), 0);
      EXPECT_EQ(listen(fd_, 1), 0);
      EXPECT_EQ(getsockname(fd_, reinterpret_cast<sockaddr*>(&name), &size), 0);
      port_ = ntohs(name.sin_port);
   }
   ~Listener() { close(fd_); }
   [[nodiscard]] std::uint16_t port() const { return port_; }
   void end() {
      close(fd_);
      fd_ = -1;
   }

private:
   int fd_ = socket(AF_INET, SOCK_STREAM, 0);
   std::uint16_t port_ = 0;
};

class AgentAddresses : public testing::Test {
protected:
   orvtest::TempDir dir_;
   orvtest::AgentHost host_;
   Agent agent_{host_.sdk, std::vector<Server::Services>{}};
   orvtest::TraceCapture traces_{"OrvSdkRpc/0-9"};
};

TEST_F(AgentAddresses, anAbstractSocketIsNeverInUse) {
   EXPECT_FALSE(agent_.addressInUse("unix-abstract:whatever", ""));
   EXPECT_FALSE(agent_.addressInUse("unix-abstract", ""));
}

TEST_F(AgentAddresses, aPortThatSomebodyListensOnIsInUse) {
   Listener listener;
   const std::string address = "127.0.0.1:" + std::to_string(listener.port());
   EXPECT_TRUE(agent_.addressInUse(address, ""));
   // A port number wraps at 16 bits.
   EXPECT_TRUE(agent_.addressInUse("127.0.0.1:" + std::to_string(listener.port() + 65536), ""));
   listener.end();
   EXPECT_FALSE(agent_.addressInUse(address, ""));
}

TEST_F(AgentAddresses, anotherFailureToBindCountsAsFree) {
   // Not an address of this host (RFC 5737).
   EXPECT_FALSE(agent_.ipAddressInUse("192.0.2.1", 50051, ""));
}

TEST_F(AgentAddresses, aPortIsLookedAtInsideTheNamespace) {
   EXPECT_THROW(agent_.addressInUse("127.0.0.1:1", "no-such-namespace"), std::system_error);
   // A socket file belongs to no network.
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), "no-such-namespace"));
   agent_.unlockUnixSocket();
}

TEST_F(AgentAddresses, aMalformedPortIsTheCallersError) {
   EXPECT_THROW(agent_.addressInUse("127.0.0.1:port", ""), std::invalid_argument);
   EXPECT_THROW(agent_.addressInUse("127.0.0.1", ""), std::invalid_argument);
   try {
      agent_.addressInUse("127.0.0.1:99999999999999999999", "");
      FAIL() << "no exception";
   } catch (const std::out_of_range& e) {
      EXPECT_STREQ(e.what(), "stoi");
   }
}

TEST_F(AgentAddresses, aUnixAddressShorterThanItsPrefixIsTheCallersError) {
   EXPECT_THROW(agent_.addressInUse("unix:", ""), std::out_of_range);
}

TEST_F(AgentAddresses, aFreeUnixAddressIsLockedWithTheProcessId) {
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   const std::string lock = dir_ / "s.lock";
   EXPECT_EQ(contents(lock), std::to_string(getpid()) + "\n");
   struct stat status {};
   ASSERT_EQ(stat(lock.c_str(), &status), 0);
   const mode_t mask = umask(0);
   umask(mask);
   EXPECT_EQ(status.st_mode & 0777, 0644 & ~mask);
   const int fd = open(lock.c_str(), O_RDWR);
   EXPECT_NE(flock(fd, LOCK_EX | LOCK_NB), 0);
   close(fd);
   agent_.unlockUnixSocket();
   EXPECT_FALSE(std::filesystem::exists(lock));
}

TEST_F(AgentAddresses, aPathWithoutItsSlashIsTheSamePath) {
   const std::string path = dir_ / "s";
   EXPECT_FALSE(agent_.addressInUse("unix://" + path.substr(1), ""));
   EXPECT_TRUE(std::filesystem::exists(path + ".lock"));
   agent_.unlockUnixSocket();
}

TEST_F(AgentAddresses, aStaleSocketIsRemovedWithWords) {
   std::ofstream(dir_ / "s") << "left behind";
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_FALSE(std::filesystem::exists(dir_ / "s"));
   EXPECT_EQ(traces_.count("Stale socket file " + dir_ / "s" + ", or error removing"), 1U);
   agent_.unlockUnixSocket();
}

TEST_F(AgentAddresses, aPathThatCannotBeRemovedCountsAsFreeWithWords) {
   std::filesystem::create_directory(dir_ / "s");
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_EQ(traces_.count("Stale socket file " + dir_ / "s" + ", or error removing"), 1U);
   agent_.unlockUnixSocket();
}

TEST_F(AgentAddresses, aSocketWithoutAStaleFileHasNoWords) {
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_TRUE(traces_.texts().empty());
   agent_.unlockUnixSocket();
}

TEST_F(AgentAddresses, theSecondOneFindsTheLockTakenAndTouchesNothing) {
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   std::ofstream(dir_ / "s") << "the first one's";
   Agent second(host_.sdk, std::vector<Server::Services>{});
   EXPECT_TRUE(second.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_EQ(traces_.count("Socket in use by " + std::to_string(getpid()) + "\n "), 1U);
   second.unlockUnixSocket();
   EXPECT_TRUE(std::filesystem::exists(dir_ / "s"));
   EXPECT_TRUE(std::filesystem::exists(dir_ / "s.lock"));
   agent_.unlockUnixSocket();
   EXPECT_FALSE(std::filesystem::exists(dir_ / "s"));
   EXPECT_FALSE(std::filesystem::exists(dir_ / "s.lock"));
}

TEST_F(AgentAddresses, anEmptyLockedFileBelongsToAnUnknownProcess) {
   const int fd = open((dir_ / "s.lock").c_str(), O_RDWR | O_CREAT, 0644);
   ASSERT_EQ(flock(fd, LOCK_EX | LOCK_NB), 0);
   EXPECT_TRUE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_EQ(traces_.count("Socket in use by unknown process "), 1U);
   close(fd);
}

TEST_F(AgentAddresses, aLockFileThatCannotBeOpenedCountsAsInUseWithWords) {
   EXPECT_TRUE(agent_.addressInUse(dir_.unixAddress("no/such/directory/s"), ""));
   EXPECT_EQ(traces_.count("Failed to open steam for lockfile(r) " + dir_ / "no/such/directory/s.lock" + " "),
             1U);
}

// What a lock file would get in a process that has closed its standard input.
TEST_F(AgentAddresses, aLockFileIsNotHeldAsStandardInput) {
   const int input = fcntl(0, F_DUPFD_CLOEXEC, 3);
   close(0);
   EXPECT_TRUE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_EQ(traces_.count("Failed to obtain lock fd "), 1U);
   if (input < 0) {
      close(0);
      return;
   }
   dup2(input, 0);
   close(input);
}

TEST_F(AgentAddresses, ofALongerLockFileLeftBehindNothingStays) {
   std::ofstream(dir_ / "s.lock") << "12345678901234567890\nand more\n";
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_EQ(contents(dir_ / "s.lock"), std::to_string(getpid()) + "\n");
   agent_.unlockUnixSocket();
}

TEST_F(AgentAddresses, filesThatANewOwnerMadeOutliveASecondUnlock) {
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   agent_.unlockUnixSocket();
   Agent second(host_.sdk, std::vector<Server::Services>{});
   EXPECT_FALSE(second.addressInUse(dir_.unixAddress("s"), ""));
   std::ofstream(dir_ / "s") << "the second one's";
   agent_.unlockUnixSocket();
   EXPECT_TRUE(std::filesystem::exists(dir_ / "s"));
   EXPECT_TRUE(std::filesystem::exists(dir_ / "s.lock"));
   second.unlockUnixSocket();
   EXPECT_FALSE(std::filesystem::exists(dir_ / "s"));
}

TEST_F(AgentAddresses, aLockFileIsNotReachedThroughASymbolicLink) {
   std::ofstream(dir_ / "precious") << "1\n";
   std::filesystem::create_symlink(dir_ / "precious", dir_ / "s.lock");
   EXPECT_TRUE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_EQ(traces_.count("Failed to open steam for lockfile(r) " + dir_ / "s.lock" + " "), 1U);
   agent_.unlockUnixSocket();
   EXPECT_EQ(contents(dir_ / "precious"), "1\n");
   EXPECT_TRUE(std::filesystem::is_symlink(dir_ / "s.lock"));
}

TEST_F(AgentAddresses, aLinkInTheSocketsPlaceGoesAndItsTargetStays) {
   std::ofstream(dir_ / "precious") << "here";
   std::filesystem::create_symlink(dir_ / "precious", dir_ / "s");
   EXPECT_FALSE(agent_.addressInUse(dir_.unixAddress("s"), ""));
   EXPECT_FALSE(std::filesystem::is_symlink(dir_ / "s"));
   EXPECT_EQ(traces_.count("Stale socket file " + dir_ / "s" + ", or error removing"), 1U);
   // The same holds for a link that appears after the agent has checked.
   std::filesystem::create_symlink(dir_ / "precious", dir_ / "s");
   agent_.unlockUnixSocket();
   EXPECT_FALSE(std::filesystem::is_symlink(dir_ / "s"));
   EXPECT_EQ(contents(dir_ / "precious"), "here");
}

using AgentAddressesDeathTest = AgentAddresses;

TEST_F(AgentAddressesDeathTest, anEmptyUnixPathEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_DEATH(agent_.addressInUse("unix://", ""), "Assertion `!unixPath.empty\\(\\)' failed");
}

}  // namespace
}  // namespace OrvSdkRpc
