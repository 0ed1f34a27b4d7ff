#include "testing/process/Daemon.h"

#include <grpcpp/grpcpp.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"

namespace orvtest {

namespace pb = OrvSdkRpc::pb;

namespace {

// Whether a process listens on the path. A channel would back off between its attempts and notice it later.
bool listening(const std::string& path) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof address.sun_path) throw std::runtime_error("socket path too long: " + path);
   std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
   const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   const bool connected = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
   ::close(fd);
   return connected;
}

bool answers(const std::string& path, std::chrono::milliseconds limit) {
   // A subchannel pool of its own: an earlier channel to the same path may be backing off.
   grpc::ChannelArguments arguments;
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   const auto channel =
        grpc::CreateCustomChannel("unix://" + path, grpc::InsecureChannelCredentials(), arguments);
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + limit);
   pb::rpc_server_state_status_msg reply;
   return pb::orvsdk_service::NewStub(channel)
        ->get_rpc_server_state(&context, pb::rpc_server_state_status_msg(), &reply)
        .ok();
}

}  // namespace

Daemon::Daemon(std::string program, std::string directory, std::vector<std::string> extra)
     : program_(std::move(program)), directory_(std::move(directory)), extra_(std::move(extra)) {}

void Daemon::launch() {
   std::vector<std::string> argv = {
        program_, "--listen", address(), "--state-dir", stateDir(), "--console", "unix:" + consolePath(),
        "--bfd"};
   argv.insert(argv.end(), extra_.begin(), extra_.end());
   child_.reset();
   child_.emplace(std::move(argv), logPath());
}

void Daemon::start(std::chrono::milliseconds patience) {
   launch();
   waitServing(patience);
}

void Daemon::waitServing(std::chrono::milliseconds patience) {
   try {
      orvtest::waitServing(*child_, socketPath(), patience);
   } catch (const std::runtime_error& error) {
      throw std::runtime_error(std::string(error.what()) + "; its log:\n" + child_->log());
   }
}

void Daemon::kill() {
   if (child_) child_->kill();
}

std::optional<Ending> Daemon::terminate(std::chrono::milliseconds limit) {
   if (!child_) return std::nullopt;
   child_->signal(SIGTERM);
   return child_->waitFor(limit);
}

void waitServing(Child& child, const std::string& socketPath, std::chrono::milliseconds patience) {
   const auto deadline = std::chrono::steady_clock::now() + patience;
   while (std::chrono::steady_clock::now() < deadline) {
      if (listening(socketPath) && answers(socketPath, std::chrono::seconds(5))) return;
      if (const auto ending = child.waitFor(std::chrono::milliseconds(1))) {
         throw std::runtime_error("the daemon ended before it served: " + to_string(*ending));
      }
   }
   throw std::runtime_error("the daemon does not serve on " + socketPath);
}

std::string programPath(const std::string& name) {
   std::filesystem::path path;
   if (const char* directory = std::getenv("ORV_BIN_DIR"); directory && *directory) {
      path = std::filesystem::path(directory) / name;
   } else {
      const auto own = std::filesystem::read_symlink("/proc/self/exe").parent_path();
      path = own / name;
      // A folder of the tests may have the program's name.
      if (!std::filesystem::is_regular_file(path)) path = own.parent_path() / "bin" / name;
   }
   if (!std::filesystem::is_regular_file(path)) throw std::runtime_error("no program " + path.string());
   return path;
}

}  // namespace orvtest
