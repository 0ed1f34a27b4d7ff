// The daemon as a process: what it refuses, how it ends, and how two daemons coexist.
#include "testing/process/Daemon.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "Program.h"
#include "ServiceManager.h"
#include "health.grpc.pb.h"
#include "orvctl/Catalog.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"

namespace orvsdkrpcd {
namespace {

namespace fs = std::filesystem;
using orvtest::Daemon;
using orvtest::Ending;
using orvtest::TempDir;
using test::daemonProgram;
using test::Outcome;
using test::runProgram;
using test::ServiceManager;
using testing::HasSubstr;
using testing::StartsWith;

std::vector<std::string> filesIn(const std::string& directory) {
   std::vector<std::string> names;
   for (const auto& entry : fs::recursive_directory_iterator(directory))
      names.push_back(entry.path().string());
   std::sort(names.begin(), names.end());
   return names;
}

class DaemonProgram : public testing::Test {
protected:
   std::vector<std::string> commandLine(const std::vector<std::string>& extra = {}) const {
      std::vector<std::string> argv{daemonProgram(), "--listen", "unix:" + directory_.path() + "/rpc.sock",
                                    "--state-dir", directory_ / "state"};
      argv.insert(argv.end(), extra.begin(), extra.end());
      return argv;
   }
   void write(const std::string& name, const std::string& text) { std::ofstream(directory_ / name) << text; }

   TempDir directory_;
};

TEST_F(DaemonProgram, everyBadValueEndsWithTwoAndOneLineAndNothingIsCreated) {
   write("file", "not JSON");
   write("config", "nonsense = 1\n");
   fs::create_directory(directory_ / "toggles");
   write("toggles/OrvSdkRpc.json", "[]");
   const std::string d = directory_.path();
   const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--nonsense"}, "--nonsense"},
        {{"word"}, "word"},
        {{"--config", d + "/none"}, d + "/none"},
        {{"--config", d + "/config"}, "nonsense"},
        {{"--console", "nonsense"}, "nonsense"},
        {{"--console", "unix:" + d + "/file"}, d + "/file"},
        {{"--console", "unix:/nonexistent/console.sock"}, "/nonexistent"},
        {{"--console", "unix:" + d + "/rpc.sock"}, d + "/rpc.sock"},
        {{"--console", "127.0.0.1:99999"}, "127.0.0.1:99999"},
        {{"--toggles", "/nonexistent"}, "/nonexistent"},
        {{"--toggles", d + "/toggles"}, "OrvSdkRpc.json"},
        {{"--topology", "/nonexistent"}, "/nonexistent"},
        {{"--topology", d + "/file"}, d + "/file"},
        {{"--trace", "a/99"}, "a/99"},
        {{"--trace", "nonsense"}, "nonsense"},
        {{"--max-streams", "0"}, "--max-streams is '0', expected 1 to 65536"},
        {{"--max-streams", "many"}, "--max-streams"},
        {{"--durability", "maybe"}, "maybe"}};
   const auto before = filesIn(d);
   for (const auto& [flags, named] : cases) {
      const auto outcome = runProgram(commandLine(flags));
      EXPECT_EQ(outcome.ending, Ending{.exitCode = 2}) << flags[0] << ": " << outcome.text;
      EXPECT_THAT(outcome.text, StartsWith("orvsdkrpcd: "));
      EXPECT_THAT(outcome.text, HasSubstr(named));
      EXPECT_EQ(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 1) << outcome.text;
      EXPECT_EQ(filesIn(d), before) << flags[0];
   }
}

TEST_F(DaemonProgram, badAddressesAndStateDirectoriesCreateNothing) {
   write("file", "precious");
   const std::string d = directory_.path();
   const std::string state = d + "/state";
   const std::pair<std::string, std::string> cases[] = {{"", state},
                                                        {"nonsense", state},
                                                        {"unix:", state},
                                                        {"unix:" + d + "/file", state},
                                                        {"unix:" + d + "/" + std::string(100, 'x'), state},
                                                        {"unix:" + d + "/a%20b", state},
                                                        {"unix:/nonexistent/x.sock", state},
                                                        {"[::1]:9000", state},
                                                        {"127.0.0.1:0", state},
                                                        {"switch1:9000", state},
                                                        {"unix:" + d + "/rpc.sock", ""},
                                                        {"unix:" + d + "/rpc.sock", d + "/file"},
                                                        {"unix:" + d + "/rpc.sock", "/nonexistent/state"}};
   const auto before = filesIn(d);
   for (const auto& [listen, stateDir] : cases) {
      const auto outcome = runProgram({daemonProgram(), "--listen", listen, "--state-dir", stateDir});
      EXPECT_EQ(outcome.ending, Ending{.exitCode = 2}) << listen << " " << stateDir << ": " << outcome.text;
      EXPECT_EQ(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 1) << outcome.text;
      EXPECT_THAT(outcome.text, HasSubstr("expected")) << listen;
      EXPECT_EQ(filesIn(d), before) << listen;
   }
   EXPECT_EQ(runProgram({daemonProgram()}).ending, Ending{.exitCode = 2});
}

TEST_F(DaemonProgram, aForeignStateDirectoryIsRefusedAndLeftAlone) {
   fs::create_directory(directory_ / "state");
   write("state/letter.txt", "dear diary");
   const auto before = filesIn(directory_.path());
   const auto outcome = runProgram(commandLine());
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 2}) << outcome.text;
   EXPECT_THAT(outcome.text, StartsWith("orvsdkrpcd: --state-dir: "));
   EXPECT_EQ(filesIn(directory_.path()), before);
}

TEST_F(DaemonProgram, helpAndVersion) {
   const auto help = runProgram({daemonProgram(), "--help"});
   EXPECT_EQ(help.ending, Ending{.exitCode = 0});
   EXPECT_THAT(help.text, HasSubstr("--state-dir"));
   EXPECT_THAT(help.text, HasSubstr("--max-streams"));
   const auto version = runProgram({daemonProgram(), "--version"});
   EXPECT_EQ(version.ending, Ending{.exitCode = 0});
   EXPECT_THAT(version.text, StartsWith("orvsdkrpcd 0."));
}

class DaemonSignal : public DaemonProgram, public testing::WithParamInterface<int> {};

TEST_P(DaemonSignal, stopsItInOrder) {
   ServiceManager manager(directory_ / "notify");
   Daemon daemon(daemonProgram(), directory_.path());
   daemon.start();
   EXPECT_EQ(manager.next(), "READY=1");
   EXPECT_TRUE(fs::exists(daemon.socketPath() + ".lock"));
   daemon.child().signal(GetParam());
   EXPECT_EQ(manager.next(), "STOPPING=1");
   EXPECT_EQ(daemon.child().wait(), Ending{.exitCode = 0}) << daemon.child().log();
   EXPECT_FALSE(fs::exists(daemon.socketPath()));
   EXPECT_FALSE(fs::exists(daemon.socketPath() + ".lock"));
   EXPECT_FALSE(fs::exists(daemon.consolePath()));
   EXPECT_THAT(daemon.child().log(), HasSubstr("orvsdkrpcd: stopped\n"));
}

INSTANTIATE_TEST_SUITE_P(Both, DaemonSignal, testing::Values(SIGTERM, SIGINT),
                         [](const auto& number) { return number.param == SIGTERM ? "Term" : "Int"; });

TEST_F(DaemonProgram, aSignalRightAfterTheStartStopsItToo) {
   orvtest::Child child(commandLine(), directory_ / "log");
   // The daemon handles the signal from the moment when it blocks it, which is before it creates the state
   // directory.
   while (!fs::exists(directory_ / "state") && !child.waitFor(std::chrono::milliseconds(1))) {
   }
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
   EXPECT_FALSE(fs::exists(directory_ / "rpc.sock"));
   EXPECT_FALSE(fs::exists(directory_ / "rpc.sock.lock"));
}

TEST_F(DaemonProgram, theConfigFileIsEnough) {
   write("config", "listen = \"unix:" + directory_.path() + "/rpc.sock\"\nstate-dir = \"" +
                        directory_.path() + "/state\"\nbfd = true\n");
   orvtest::Child child({daemonProgram(), "--config", directory_ / "config"}, directory_ / "log");
   orvtest::waitServing(child, directory_ / "rpc.sock", std::chrono::seconds(30));
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
}

TEST_F(DaemonProgram, onTcp) {
   // A port that was free a moment ago.
   const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   socklen_t length = sizeof(address);
   ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), length), 0);
   ASSERT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
   const std::string listen = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));

   // The port is still taken, so it is refused as an address in use.
   ASSERT_EQ(::listen(fd, 1), 0);
   const auto refused =
        runProgram({daemonProgram(), "--listen", listen, "--state-dir", directory_ / "state"});
   EXPECT_EQ(refused.ending, Ending{.exitCode = 1}) << refused.text;
   EXPECT_THAT(refused.text, HasSubstr("'" + listen + "', expected an address that is not in use"));

   close(fd);
   ServiceManager manager(directory_ / "notify");
   orvtest::Child child({daemonProgram(), "--listen", listen, "--state-dir", directory_ / "state", "--bfd"},
                        directory_ / "log");
   ASSERT_EQ(manager.next(), "READY=1");
   const auto outcome = runProgram({test::clientProgram(), "--target", listen, "init"});
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 0}) << outcome.text;
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
}

TEST_F(DaemonProgram, onSeveralAddressesOfWhichOneIsInUse) {
   const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   socklen_t length = sizeof(address);
   ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), length), 0);
   ASSERT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
   ASSERT_EQ(::listen(fd, 1), 0);
   const std::string busy = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
   const std::string abstract = "unix-abstract:" + directory_.path();
   ServiceManager manager(directory_ / "notify");
   orvtest::Child child(commandLine({"--listen", busy, "--listen", abstract, "--bfd"}), directory_ / "log");
   ASSERT_EQ(manager.next(), "READY=1");
   for (const std::string& target : {"unix:" + directory_.path() + "/rpc.sock", abstract})
      EXPECT_EQ(runProgram({test::clientProgram(), "--target", target, "init"}).ending,
                Ending{.exitCode = 0});
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
   EXPECT_THAT(child.log(), HasSubstr("'" + busy + "', expected an address that is not in use"));
   EXPECT_THAT(child.log(),
               HasSubstr("serving on unix://" + directory_.path() + "/rpc.sock, " + abstract + "\n"));
   EXPECT_FALSE(fs::exists(directory_ / "rpc.sock"));
   EXPECT_FALSE(fs::exists(directory_ / "rpc.sock.lock"));
   close(fd);
}

TEST_F(DaemonProgram, onAnAbstractSocket) {
   const std::string listen = "unix-abstract:" + directory_.path();
   ServiceManager manager(directory_ / "notify");
   orvtest::Child child({daemonProgram(), "--listen", listen, "--state-dir", directory_ / "state", "--bfd"},
                        directory_ / "log");
   ASSERT_EQ(manager.next(), "READY=1");
   EXPECT_EQ(runProgram({test::clientProgram(), "--target", listen, "init"}).ending, Ending{.exitCode = 0});
   // The agent does not guard abstract names; the second daemon fails when it binds.
   const auto second =
        runProgram({daemonProgram(), "--listen", listen, "--state-dir", directory_ / "state2"});
   EXPECT_EQ(second.ending, Ending{.exitCode = 1}) << second.text;
   EXPECT_THAT(second.text, HasSubstr("expected an address that can be bound"));
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
}

TEST_F(DaemonProgram, pathsThatAUriWouldEscapeAreLockedAndBoundAlike) {
   const std::string socket = directory_ / "a b#c?d.sock";
   orvtest::Child child(
        {daemonProgram(), "--listen", "unix:" + socket, "--state-dir", directory_ / "state", "--bfd"},
        directory_ / "log");
   while (!fs::exists(socket) && !child.waitFor(std::chrono::milliseconds(1))) {
   }
   EXPECT_TRUE(fs::exists(socket + ".lock"));
   EXPECT_EQ(runProgram({test::clientProgram(), "--target", "unix:" + socket, "init"}).ending,
             Ending{.exitCode = 0});
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
}

class TwoDaemons : public DaemonProgram {
protected:
   TwoDaemons() : first_(daemonProgram(), directory_.path()) { first_.start(); }

   std::vector<std::string> second(const std::vector<std::string>& extra = {}) const {
      std::vector<std::string> argv{daemonProgram(), "--listen", first_.address(), "--state-dir",
                                    directory_ / "state2"};
      argv.insert(argv.end(), extra.begin(), extra.end());
      return argv;
   }
   void expectFirstServes() {
      EXPECT_TRUE(fs::exists(first_.socketPath() + ".lock"));
      EXPECT_NO_THROW(first_.waitServing());
   }

   Daemon first_;
};

TEST_F(TwoDaemons, onOneSocketTheSecondSaysSoAndEnds) {
   const auto outcome = runProgram(second());
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 1}) << outcome.text;
   EXPECT_THAT(outcome.text, HasSubstr("expected an address that is not in use: process " +
                                       std::to_string(first_.child().pid()) + " has it"));
   expectFirstServes();
}

TEST_F(TwoDaemons, onOneSocketTheSecondMayStayWithoutAServer) {
   ServiceManager manager(directory_ / "notify");
   orvtest::Child child(second({"--stay"}), directory_ / "second.log");
   EXPECT_EQ(manager.next(), "READY=1");
   EXPECT_THAT(child.log(), HasSubstr("staying up without a server"));
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
   expectFirstServes();
}

TEST_F(TwoDaemons, onOneStateDirectoryTheSecondIsRefused) {
   const auto outcome = runProgram({daemonProgram(), "--listen", "unix:" + directory_.path() + "/other.sock",
                                    "--state-dir", first_.stateDir()});
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 2}) << outcome.text;
   EXPECT_THAT(outcome.text, StartsWith("orvsdkrpcd: --state-dir: "));
   EXPECT_THAT(outcome.text, HasSubstr(first_.stateDir()));
   EXPECT_FALSE(fs::exists(directory_ / "other.sock"));
   EXPECT_FALSE(fs::exists(directory_ / "other.sock.lock"));
   expectFirstServes();
}

TEST_F(TwoDaemons, onOneConsoleTheSecondIsRefusedAndLeavesNothing) {
   const auto outcome =
        runProgram({daemonProgram(), "--listen", "unix:" + directory_.path() + "/other.sock", "--state-dir",
                    directory_ / "state2", "--console", "unix:" + first_.consolePath()});
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 2}) << outcome.text;
   EXPECT_THAT(outcome.text, HasSubstr(first_.consolePath()));
   EXPECT_FALSE(fs::exists(directory_ / "state2"));
   EXPECT_FALSE(orvtest::Console(first_.consolePath()).run("show version").empty());
}

TEST_F(DaemonProgram, aStaleSocketAndLockAreTakenOver) {
   ASSERT_EQ(mknod((directory_ / "rpc.sock").c_str(), S_IFSOCK | 0600, 0), 0);
   write("rpc.sock.lock", "12345678901234567890\n");
   Daemon daemon(daemonProgram(), directory_.path());
   daemon.start();
   std::ifstream lock(daemon.socketPath() + ".lock");
   const std::string owner{std::istreambuf_iterator<char>(lock), {}};
   EXPECT_EQ(owner, std::to_string(daemon.child().pid()) + "\n");
   EXPECT_EQ(daemon.terminate(), Ending{.exitCode = 0});
}

TEST_F(DaemonProgram, aLockFileThatIsASymbolicLinkIsNotFollowed) {
   write("precious", "dear diary");
   fs::create_symlink(directory_ / "precious", directory_ / "rpc.sock.lock");
   const auto outcome = runProgram(commandLine());
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 2}) << outcome.text;
   EXPECT_THAT(outcome.text,
               HasSubstr("expected '" + directory_.path() + "/rpc.sock.lock' to be a plain file"));
   std::string text;
   std::getline(std::ifstream(directory_ / "precious"), text);
   EXPECT_EQ(text, "dear diary");
}

TEST_F(DaemonProgram, aLockThatNamesNobodyIsStillALock) {
   const int fd = open((directory_ / "rpc.sock.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
   ASSERT_EQ(flock(fd, LOCK_EX), 0);
   const auto outcome = runProgram(commandLine());
   close(fd);
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 1}) << outcome.text;
   EXPECT_THAT(outcome.text, HasSubstr("expected an address that is not in use\n"));
   EXPECT_TRUE(fs::exists(directory_ / "rpc.sock.lock"));
}

// For root every directory is writable, but nothing can be created in /proc.
TEST_F(DaemonProgram, aDirectoryThatTakesNoSocketIsRefusedInWords) {
   std::string place = "/proc";
   if (geteuid() != 0) {
      place = directory_ / "read-only";
      fs::create_directory(place);
      fs::permissions(place, fs::perms::owner_read | fs::perms::owner_exec);
   }
   const auto socket = runProgram(
        {daemonProgram(), "--listen", "unix:" + place + "/x.sock", "--state-dir", directory_ / "state"});
   EXPECT_EQ(socket.ending.exitCode, geteuid() == 0 ? 1 : 2) << socket.text;
   EXPECT_THAT(socket.text, HasSubstr(place + "/x.sock"));
   EXPECT_THAT(socket.text, HasSubstr("expected a "));

   const auto state = runProgram({daemonProgram(), "--listen", "unix:" + directory_.path() + "/rpc.sock",
                                  "--state-dir", place + "/state"});
   EXPECT_EQ(state.ending, Ending{.exitCode = 2}) << state.text;
   EXPECT_THAT(state.text, HasSubstr(place + "/state"));
   EXPECT_FALSE(fs::exists(directory_ / "rpc.sock"));
}

TEST_F(DaemonProgram, tooFewDescriptorsAreRefusedInWords) {
   std::string line = "ulimit -n 20; exec";
   for (const auto& word : commandLine())
      line += " '" + word + "'";
   const auto outcome = runProgram({"/bin/bash", "-c", line});
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 2}) << outcome.text;
   EXPECT_EQ(outcome.text, "orvsdkrpcd: the limit of open files is 20, expected at least 64\n");
   EXPECT_FALSE(fs::exists(directory_ / "state"));
}

TEST_F(DaemonProgram, theLeastDescriptorsAreEnoughToServe) {
   std::string line = "ulimit -n 64; exec";
   for (const auto& word :
        commandLine({"--bfd", "--console", "unix:" + directory_.path() + "/console.sock"})) {
      line += " '" + word + "'";
   }
   orvtest::Child child({"/bin/bash", "-c", line}, directory_ / "log");
   orvtest::waitServing(child, directory_ / "rpc.sock", std::chrono::seconds(30));
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
}

TEST_F(DaemonProgram, runningOutOfDescriptorsIsNotForEver) {
   std::string line = "ulimit -n 64; exec";
   for (const auto& word : commandLine({"--bfd"}))
      line += " '" + word + "'";
   orvtest::Child child({"/bin/bash", "-c", line}, directory_ / "log");
   const std::string path = directory_ / "rpc.sock";
   orvtest::waitServing(child, path, std::chrono::seconds(30));

   // More clients than descriptors. The daemon accepts the last ones only to close them, which they see as an
   // end of input.
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
   std::vector<int> clients;
   for (int i = 0; i < 80; ++i) {
      clients.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
      ASSERT_EQ(connect(clients.back(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
   }
   std::array<char, 4096> ignored{};
   while (recv(clients.back(), ignored.data(), ignored.size(), 0) > 0) {
   }
   EXPECT_THAT(child.log(), HasSubstr("no file descriptor left, refusing new clients"));
   for (const int fd : clients)
      close(fd);

   Outcome outcome;
   do {
      // The server notices a moment later that they are gone.
      outcome = runProgram({test::clientProgram(), "--target", "unix:" + path, "init"});
   } while (outcome.ending == Ending{.exitCode = 3} && child.running());
   EXPECT_EQ(outcome.ending, Ending{.exitCode = 0}) << outcome.text;
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
}

TEST_F(DaemonProgram, theSoftLimitOfDescriptorsIsRaised) {
   std::string line = "ulimit -S -n 70; ulimit -H -n 256; exec";
   for (const auto& word : commandLine({"--bfd"}))
      line += " '" + word + "'";
   orvtest::Child child({"/bin/bash", "-c", line}, directory_ / "log");
   orvtest::waitServing(child, directory_ / "rpc.sock", std::chrono::seconds(30));
   std::ifstream limits("/proc/" + std::to_string(child.pid()) + "/limits");
   std::string found;
   for (std::string text; std::getline(limits, text);) {
      if (text.starts_with("Max open files")) found = text;
   }
   std::istringstream words(found.substr(std::string("Max open files").size()));
   std::string soft, hard;
   words >> soft >> hard;
   EXPECT_EQ(soft, "256");
   EXPECT_EQ(hard, "256");
   child.signal(SIGTERM);
   EXPECT_EQ(child.wait(), Ending{.exitCode = 0}) << child.log();
}

TEST_F(DaemonProgram, tracesGoToStandardError) {
   Daemon daemon(daemonProgram(), directory_.path(), {"--trace", "OrvSdkRpc/0-1"});
   daemon.start();
   EXPECT_EQ(daemon.terminate(), Ending{.exitCode = 0});
   EXPECT_THAT(daemon.child().log(), HasSubstr("Agent Initialized"));
   EXPECT_THAT(daemon.child().log(), HasSubstr("Server listening on: " + daemon.address()));
   EXPECT_THAT(daemon.child().log(), HasSubstr("Shutdown complete"));
}

TEST_F(DaemonProgram, theTopologyIsTheSwitchs) {
   write("topology.json", R"({"interfaces":[{"name":"Ethernet7"}]})");
   Daemon daemon(daemonProgram(), directory_.path(), {"--topology", directory_ / "topology.json"});
   daemon.start();
   orvtest::Console console(daemon.consolePath());
   const std::string interfaces = console.run("show interfaces");
   EXPECT_THAT(interfaces, HasSubstr("Ethernet7"));
   EXPECT_THAT(interfaces, testing::Not(HasSubstr("Ethernet8")));
   EXPECT_EQ(daemon.terminate(), Ending{.exitCode = 0});
}

TEST_F(DaemonProgram, withSyncDurability) {
   Daemon daemon(daemonProgram(), directory_.path(), {"--durability", "sync"});
   daemon.start();
   EXPECT_EQ(runProgram({test::clientProgram(), "--target", daemon.address(), "init"}).ending,
             Ending{.exitCode = 0});
   EXPECT_EQ(runProgram({test::clientProgram(), "--target", daemon.address(), "state", "set", "a=1"}).ending,
             Ending{.exitCode = 0});
   EXPECT_EQ(daemon.terminate(), Ending{.exitCode = 0});
}

TEST_F(DaemonProgram, healthAndReflectionAnswer) {
   Daemon daemon(daemonProgram(), directory_.path());
   daemon.start();
   const auto channel = grpc::CreateChannel(daemon.address(), grpc::InsecureChannelCredentials());
   const auto health = grpc::health::v1::Health::NewStub(channel);
   for (const char* name : {"", "OrvSdkRpc.pb.orvsdk_service", "grpc.health.v1.Health"}) {
      grpc::ClientContext context;
      grpc::health::v1::HealthCheckRequest request;
      request.set_service(name);
      grpc::health::v1::HealthCheckResponse response;
      const auto status = health->Check(&context, request, &response);
      EXPECT_TRUE(status.ok()) << name << ": " << status.error_message();
      EXPECT_EQ(response.status(), grpc::health::v1::HealthCheckResponse::SERVING) << name;
   }

   orvctl::Connection connection(orvctl::parseTarget("--target", daemon.address()), 30);
   const auto catalog = orvctl::readCatalog(connection);
   EXPECT_TRUE(catalog.fromServer);
   std::vector<std::string> names;
   for (const auto& service : catalog.services)
      names.push_back(service.name);
   EXPECT_THAT(names, testing::IsSupersetOf({"OrvSdkRpc.pb.orvsdk_service", "grpc.health.v1.Health",
                                             "grpc.reflection.v1alpha.ServerReflection"}));

   // An open health watch ends with the server and does not delay the stop.
   grpc::ClientContext context;
   const auto watch = health->Watch(&context, {});
   grpc::health::v1::HealthCheckResponse response;
   ASSERT_TRUE(watch->Read(&response));
   EXPECT_EQ(response.status(), grpc::health::v1::HealthCheckResponse::SERVING);
   EXPECT_EQ(daemon.terminate(std::chrono::seconds(10)), Ending{.exitCode = 0});
   while (watch->Read(&response)) {
   }
   EXPECT_FALSE(watch->Finish().ok());
}

}  // namespace
}  // namespace orvsdkrpcd
