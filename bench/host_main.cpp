// The daemon's library and switch in a process that also measures its own main
// loop. It takes the daemon's flags, as far as a benchmark gives them.
#include <signal.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "OrvSdkRpc/server/Agent.h"
#include "Pinger.h"
#include "softswitch/soft_switch.h"

namespace {

softswitch::SoftSwitch* stopped = nullptr;

void onTerm(int) {
   stopped->stop();
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("A daemon that measures round trips through its main loop");
   std::string address;
   std::string stateDirectory;
   std::string console;
   std::string pingFile;
   bool bfd = false;
   app.add_option("--listen", address, "Address of the programming service")->required();
   app.add_option("--state-dir", stateDirectory, "State directory")->required();
   app.add_option("--console", console, "Taken for the daemon's sake; there is no console here");
   app.add_option("--ping-file", pingFile, "Where the round trips are written to at the end")->required();
   app.add_flag("--bfd", bfd, "Serve the programming service");
   CLI11_PARSE(app, argc, argv);
   try {
      softswitch::Options options;
      options.stateDirectory = stateDirectory;
      softswitch::SoftSwitch host(std::move(options));
      OrvSdkRpc::Agent agent(host, address, bfd, false);
      bench::Pinger pinger(Gorm::TaskSchedulerRoot::findOrCreateScheduler());
      stopped = &host;
      struct sigaction action {};
      action.sa_handler = onTerm;
      ::sigaction(SIGTERM, &action, nullptr);
      pinger.start();
      host.mainLoop();
      pinger.stop();
      pinger.write(pingFile);
      return 0;
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 2;
   }
}
