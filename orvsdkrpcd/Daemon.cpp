#include "orvsdkrpcd/Daemon.h"

#include <fmt/ranges.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>
#include <memory>
#include <thread>

#include "OrvSdkRpc/agent/Agent.h"
#include "orvsdkrpcd/AcceptGuard.h"
#include "orvsdkrpcd/ServerPlugins.h"
#include "orvsdkrpcd/StopSequence.h"
#include "orvsdkrpcd/StopSignals.h"
#include "orvsdkrpcd/SystemdNotify.h"
#include "orvsdkrpcd/UsageError.h"
#include "softswitch/console/commands.h"
#include "softswitch/console/server.h"
#include "softswitch/soft_switch.h"
#include "softswitch/store/error.h"

namespace orvsdkrpcd {
namespace {

// Enough for the state directory, the lock, the console, gRPC itself and a handful of clients.
constexpr rlim_t kLeastFiles = 64;

std::vector<std::string> texts(const std::vector<ListenAddress>& addresses) {
   std::vector<std::string> texts;
   for (const ListenAddress& address : addresses)
      texts.push_back(address.text);
   return texts;
}

// The agent, which notifies the daemon once the SDK has initialised it.
class HostedAgent final : public OrvSdkRpc::Agent {
public:
   HostedAgent(orv::sdk& sdk, const Settings& settings, std::function<void()> onInitialized)
        : Agent(sdk, settings.listen.front().text, settings.bfd, settings.fib),
          onInitialized_(std::move(onInitialized)) {
      configurationIs({.addresses = texts(settings.listen)});
   }

   void on_initialized() override {
      Agent::on_initialized();
      onInitialized_();
   }

private:
   std::function<void()> onInitialized_;
};

std::unique_ptr<softswitch::SoftSwitch> openSwitch(const Settings& settings, const Log& log) {
   softswitch::Options options;
   options.stateDirectory = settings.stateDir;
   options.durability = settings.durability;
   options.topology = settings.topology;
   options.agentOptions = settings.agentOptions;
   options.log = log;
   try {
      return std::make_unique<softswitch::SoftSwitch>(std::move(options));
   } catch (const softswitch::store::StoreError& error) {
      throw UsageError(fmt::format("--state-dir: {}", error.what()));
   }
}

// The console listens before the state directory is opened, so that a refused address leaves nothing behind.
// It answers commands once the switch and its agent exist.
class Console {
public:
   explicit Console(const Settings& settings) {
      if (!settings.console) return;
      try {
         server_ = std::make_unique<softswitch::console::Server>(
              *settings.console, [this](std::string_view line, softswitch::console::Output& out) {
                 auto* const commands = commands_.load(std::memory_order_acquire);
                 if (!commands) throw std::runtime_error("the switch is still starting");
                 commands->run(line, out);
              });
      } catch (const std::runtime_error& error) {
         throw UsageError(fmt::format("--console: {}", error.what()));
      }
   }

   // Serves `commands` until the returned guard is destroyed, which stops the console.
   auto serve(softswitch::console::Commands& commands) {
      commands_.store(&commands, std::memory_order_release);
      const auto stop = [](Console* console) {
         if (console->server_) console->server_->stop();
      };
      return std::unique_ptr<Console, decltype(stop)>(this, stop);
   }

private:
   std::atomic<softswitch::console::Commands*> commands_{nullptr};
   std::unique_ptr<softswitch::console::Server> server_;
};

// RETURNS: the process id in the lock file beside a unix socket; empty if the file contains none.
std::string lockOwner(const std::string& socketPath) {
   std::string owner;
   std::getline(std::ifstream(socketPath + ".lock"), owner);
   return owner.find_first_not_of("0123456789") == std::string::npos ? owner : std::string();
}

// Explains why the agent found an address in use.
std::string whyBusy(const ListenAddress& listen) {
   std::string expected = "an address that is not in use";
   if (!listen.socketPath.empty()) {
      struct stat lock {};
      if (lstat((listen.socketPath + ".lock").c_str(), &lock) != 0) {
         expected = "a place where a lock file can be made";
      } else if (const std::string owner = lockOwner(listen.socketPath); !owner.empty()) {
         expected += fmt::format(": process {} has it", owner);
      }
   }
   return fmt::format("--listen is '{}', expected {}", listen.text, expected);
}

// Waits on its own thread until the server accepts calls or has failed.
class StartWatch {
public:
   StartWatch(const Settings& settings, const Log& log, ServiceStatus& status, StopSequence& stop)
        : settings_(settings), log_(log), status_(status), stop_(stop) {}
   ~StartWatch() { join(); }
   StartWatch(const StartWatch&) = delete;
   StartWatch& operator=(const StartWatch&) = delete;

   void start(OrvSdkRpc::Agent& agent) {
      thread_ = std::thread([this, &agent] { watch(agent); });
   }
   void join() {
      if (thread_.joinable()) thread_.join();
   }
   // RETURNS: whether the process ends because nothing could be served.
   // REQUIRES: join() was called.
   bool failed() const { return failed_; }

private:
   void watch(OrvSdkRpc::Agent& agent) {
      if (agent.waitUntilServing()) {
         for (const ListenAddress& listen : settings_.listen) {
            const auto& served = agent.addresses();
            if (std::find(served.begin(), served.end(), listen.text) == served.end()) log_(whyBusy(listen));
         }
         log_(fmt::format("serving on {}", fmt::join(agent.addresses(), ", ")));
         status_.ready();
         return;
      }
      // A stop may come before the server accepts calls.
      if (stop_.begun()) return;
      if (agent.addresses().empty()) {
         for (const ListenAddress& listen : settings_.listen)
            log_(whyBusy(listen));
      } else {
         log_(fmt::format("--listen is '{}', expected {}", fmt::join(agent.addresses(), ", "),
                          agent.addresses().size() == 1 ? "an address that can be bound"
                                                        : "addresses that can all be bound"));
      }
      if (settings_.stay) {
         log_("nothing is served; staying up without a server, as --stay asks");
         status_.ready();
         return;
      }
      failed_ = stop_.begin("nothing is served");
   }

   const Settings& settings_;
   const Log& log_;
   ServiceStatus& status_;
   StopSequence& stop_;
   std::thread thread_;
   bool failed_ = false;
};

}  // namespace

void prepareFileLimit() {
   rlimit limit{};
   if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
   if (limit.rlim_max < kLeastFiles) {
      throw UsageError(
           fmt::format("the limit of open files is {}, expected at least {}", limit.rlim_max, kLeastFiles));
   }
   limit.rlim_cur = limit.rlim_max;
   setrlimit(RLIMIT_NOFILE, &limit);
   guardAccept();
}

int serve(const Settings& settings, const Log& log) {
   std::signal(SIGPIPE, SIG_IGN);
   StopSignals signals;
   HealthService& health = installServerPlugins(settings.maxStreams);
   Console console(settings);
   const auto sdk = openSwitch(settings, log);
   softswitch::console::Commands commands(*sdk);
   ServiceStatus status;
   StopSequence stop(log, status, health, *sdk);
   StartWatch watch(settings, log, status, stop);
   HostedAgent agent(*sdk, settings, [&] { watch.start(agent); });
   // After the agent is constructed, which happens without the SDK's lock: commands run on other threads.
   auto serving = console.serve(commands);
   signals.start([&](int number) { stop.beginOrHurry(number == SIGTERM ? "TERM" : "INT"); });
   if (!settings.bfd) log("without --bfd the programming API is not served");
   int code = kStopped;
   try {
      sdk->mainLoop();
   } catch (const std::exception& error) {
      // The agent's server thread still runs, so an orderly shutdown is impossible.
      log(fmt::format("the switch failed: {}", error.what()));
      std::_Exit(kFailed);
   }
   watch.join();
   signals.stop();
   serving.reset();
   if (watch.failed()) code = kFailed;
   if (code == kStopped) log("stopped");
   return code;
}

}  // namespace orvsdkrpcd
