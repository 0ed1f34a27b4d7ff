// A host as a user of the library would write it: the agent over the software switch, from the installed
// headers. It starts the switch on the directory that is its argument, serves, and ends in order.
#include <cstdio>
#include <thread>

#include "OrvSdkRpc/agent/Agent.h"
#include "softswitch/soft_switch.h"

int main(int argc, char** argv) {
   if (argc != 2) return 2;
   const std::string directory = argv[1];
   softswitch::Options options;
   options.stateDirectory = directory + "/state";
   softswitch::SoftSwitch sdk(std::move(options));
   OrvSdkRpc::Agent agent(sdk, "unix://" + directory + "/rpc.sock", true, false);
   std::thread stopper([&] { sdk.stop(); });
   sdk.mainLoop();
   stopper.join();
   std::printf("agent %s ended\n", sdk.name().c_str());
   return 0;
}
