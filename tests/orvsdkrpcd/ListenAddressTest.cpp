#include "orvsdkrpcd/ListenAddress.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "orvsdkrpcd/UsageError.h"
#include "testing/base/TempDir.h"

namespace orvsdkrpcd {
namespace {

// The path that the agent takes for the socket's: everything after the seventh character, made absolute.
std::string agentPath(const std::string& address) {
   const std::string rest = address.substr(7);
   return rest.starts_with('/') ? rest : "/" + rest;
}

// The path that gRPC binds. Several leading slashes count as one, as in the kernel.
std::string grpcPath(const std::string& address) {
   const std::string rest = address.substr(5);
   return "/" + rest.substr(rest.find_first_not_of('/'));
}

TEST(ListenAddress, everyUnixFormNamesOnePathForAgentAndGrpc) {
   const std::string here = std::filesystem::current_path().string();
   const std::pair<const char*, std::string> forms[] = {{"unix:/run/x", "/run/x"},
                                                        {"unix://run/x", "/run/x"},
                                                        {"unix:///run/x", "/run/x"},
                                                        {"unix:////run/x", "/run/x"},
                                                        {"unix:x", here + "/x"},
                                                        {"unix:a/x", here + "/a/x"},
                                                        {"unix:/run/a b#c?d", "/run/a b#c?d"}};
   for (const auto& [text, path] : forms) {
      const ListenAddress address = parseListenAddress("--listen", text);
      EXPECT_EQ(address.socketPath, path) << text;
      EXPECT_EQ(agentPath(address.text), path) << text;
      EXPECT_EQ(grpcPath(address.text), path) << text;
   }
}

TEST(ListenAddress, otherKinds) {
   EXPECT_EQ(parseListenAddress("--listen", "unix-abstract:orv"), (ListenAddress{"unix-abstract:orv", ""}));
   EXPECT_EQ(parseListenAddress("--listen", "127.0.0.1:9000"), (ListenAddress{"127.0.0.1:9000", ""}));
   EXPECT_EQ(parseListenAddress("--listen", "localhost:9000"), (ListenAddress{"127.0.0.1:9000", ""}));
   EXPECT_EQ(parseListenAddress("--listen", "0.0.0.0:09000").text, "0.0.0.0:9000");
}

TEST(ListenAddress, whatIsNoneIsRefusedWithTheValue) {
   for (const std::string& text : {std::string(),
                                   std::string("nonsense"),
                                   std::string("unix:"),
                                   std::string("unix://"),
                                   std::string("unix:/run/"),
                                   std::string("unix:/run/a%41"),
                                   std::string("unix:/run/a\nb"),
                                   std::string("unix-abstract:"),
                                   "unix-abstract:" + std::string(108, 'x'),
                                   "unix:/" + std::string(105, 'x'),
                                   std::string("127.0.0.1"),
                                   std::string("127.0.0.1:"),
                                   std::string("127.0.0.1:0"),
                                   std::string("127.0.0.1:65536"),
                                   std::string("127.0.0.1:9000x"),
                                   std::string("127.0.0.1:-1"),
                                   std::string("switch1:9000"),
                                   std::string("[::1]:9000"),
                                   std::string("::1:9000"),
                                   std::string("dns:///127.0.0.1:9000"),
                                   std::string("*:9000")}) {
      try {
         parseListenAddress("--listen", text);
         FAIL() << "'" << text << "' was taken";
      } catch (const UsageError& error) {
         EXPECT_TRUE(std::string(error.what()).starts_with("--listen is '" + text + "', expected "))
              << error.what();
      }
   }
}

TEST(ListenAddress, theLongestPathIsTheLongestThatGrpcBinds) {
   EXPECT_EQ(parseListenAddress("--listen", "unix:/" + std::string(104, 'x')).text.size(),
             107U + std::string("unix:").size());
}

TEST(SocketPlace, aFreePathOrASocketWillDo) {
   const orvtest::TempDir directory;
   EXPECT_NO_THROW(requireSocketPlace("--listen", "v", directory / "x"));
   ASSERT_EQ(mknod((directory / "s").c_str(), S_IFSOCK | 0600, 0), 0);
   EXPECT_NO_THROW(requireSocketPlace("--listen", "v", directory / "s"));
}

TEST(SocketPlace, anythingElseIsLeftAlone) {
   const orvtest::TempDir directory;
   std::ofstream(directory / "file") << "precious";
   std::filesystem::create_directory(directory / "dir");
   std::filesystem::create_symlink(directory / "file", directory / "link");
   for (const char* name : {"file", "dir", "link", "none/x", "file/x"}) {
      EXPECT_THROW(requireSocketPlace("--listen", "v", directory / name), UsageError) << name;
   }
}

}  // namespace
}  // namespace orvsdkrpcd
