#include "Servers.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "Cores.h"
#include "testing/base/TempDir.h"

namespace bench {

using namespace std::chrono_literals;

FloorServer::FloorServer(const std::string& program, const std::vector<std::string>& extra)
     : child_([&] {
          const OnCoresOf server(Side::server);
          std::vector<std::string> argv = {program, "--listen", address()};
          argv.insert(argv.end(), extra.begin(), extra.end());
          return orvtest::Child(std::move(argv), directory_ / "floor.log");
       }()) {
   orvtest::waitServing(child_, directory_ / "rpc.sock", 10s);
}

FreshDaemon::FreshDaemon(const std::string& program, std::vector<std::string> extra)
     : daemon_(program, directory_.path(), std::move(extra)) {
   start();
}

void FreshDaemon::start() {
   {
      const OnCoresOf server(Side::server);
      daemon_.launch();
   }
   daemon_.waitServing();
}

FreshDaemon::~FreshDaemon() {
   daemon_.kill();
}

nlohmann::json runLoad(const std::string& program, const std::string& address, Arguments arguments) {
   const orvtest::TempDir directory("orv-bench-load-");
   Arguments argv = {program, "--target", address};
   argv.insert(argv.end(), arguments.begin(), arguments.end());
   auto child = [&] {
      const OnCoresOf client(Side::client);
      return orvtest::Child(std::move(argv), directory / "output");
   }();
   const auto ending = child.wait();
   if (ending != orvtest::Ending{.exitCode = 0}) {
      throw std::runtime_error("the load client ended with " + to_string(ending) + ": " + child.log());
   }
   return nlohmann::json::parse(child.log());
}

double cpuSecondsOf(pid_t pid) {
   std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
   std::string line;
   std::getline(file, line);
   // The program's name, in parentheses, may contain anything, so the fields are counted after it.
   std::istringstream fields(line.substr(line.rfind(')') + 1));
   std::string skipped;
   for (int i = 0; i < 11; ++i)
      fields >> skipped;
   double user = 0;
   double system = 0;
   fields >> user >> system;
   return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

double runSecondsOf(pid_t pid) {
   double nanos = 0;
   for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
      double ran = 0;
      std::ifstream(thread.path() / "schedstat") >> ran;
      nanos += ran;
   }
   return nanos / 1e9;
}

Resident residentOf(pid_t pid) {
   std::ifstream file("/proc/" + std::to_string(pid) + "/status");
   Resident resident;
   for (std::string line; std::getline(file, line);) {
      std::istringstream fields(line);
      std::string name;
      double kibibytes = 0;
      fields >> name >> kibibytes;
      if (name == "VmRSS:") resident.total = kibibytes / 1024;
      if (name == "RssAnon:") resident.anonymous = kibibytes / 1024;
   }
   if (resident.total == 0) throw std::runtime_error("no VmRSS of process " + std::to_string(pid));
   return resident;
}

Resident settledResident(pid_t pid) {
   Resident resident = residentOf(pid);
   for (int still = 0; still < 5;) {
      std::this_thread::sleep_for(200ms);
      const Resident now = residentOf(pid);
      still = now.total > resident.total + 0.5 ? 0 : still + 1;
      resident = now;
   }
   return resident;
}

}  // namespace bench
