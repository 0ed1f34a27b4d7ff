#include "StreamServers.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>

#include "Cores.h"

namespace bench {

using namespace std::chrono_literals;

StreamHost::StreamHost(const Setup& setup, const Arguments& arguments)
     : child_([&] {
          const OnCoresOf server(Side::server);
          Arguments argv = {setup.streamHostProgram, "--listen", address(), "--state-dir",
                            directory_ / "state"};
          argv.insert(argv.end(), arguments.begin(), arguments.end());
          return orvtest::Child(std::move(argv), directory_ / "host.log");
       }()) {
   while (!std::filesystem::exists(directory_ / "rpc.sock")) {
      if (child_.waitFor(10ms)) throw std::runtime_error("the stream host has ended: " + child_.log());
   }
}

Arguments reading(const std::string& workload, double seconds) {
   return {"--workload", workload, "--seconds", std::to_string(seconds)};
}

SampleMessage::SampleMessage(const Setup& setup, const std::string& address, Arguments arguments) {
   arguments.insert(arguments.end(), {"--sample", path()});
   runLoad(setup.streamProgram, address, std::move(arguments));
   if (bytes() == 0) throw std::runtime_error("too few messages for a sample");
}

std::uintmax_t SampleMessage::bytes() const {
   return std::filesystem::file_size(path());
}

Arguments floorFlags(const Setup& setup, const std::string& stream, const SampleMessage& message,
                     std::uint64_t count) {
   Arguments flags = setup.floorFlags;
   flags.insert(flags.end(),
                {"--stream", stream, "--message", message.path(), "--count", std::to_string(count)});
   return flags;
}

}  // namespace bench
