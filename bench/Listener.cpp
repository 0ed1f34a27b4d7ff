#include "Listener.h"

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "Cores.h"

namespace bench {

using namespace std::chrono_literals;

Listener::Listener(const Setup& setup, const std::string& address, const std::string& of,
                   std::uint64_t events)
     : child_([&] {
          const OnCoresOf client(Side::client);
          return orvtest::Child({setup.streamProgram, "--target", address, "--workload", "hear", "--of", of,
                                 "--events", std::to_string(events), "--ready", directory_ / "ready"},
                                directory_ / "output");
       }()) {
   while (!std::filesystem::exists(directory_ / "ready")) {
      if (child_.waitFor(10ms)) throw std::runtime_error("the listener has ended: " + child_.log());
   }
}

Heard Listener::result() {
   const auto ending = child_.waitFor(2min);
   if (!ending) throw std::runtime_error("events are missing, and the stream has not ended");
   if (*ending != orvtest::Ending{.exitCode = 0}) {
      throw std::runtime_error("the listener ended with " + to_string(*ending) + ": " + child_.log());
   }
   const auto heard = nlohmann::json::parse(child_.log());
   return {.events = heard.at("events"), .lastNs = heard.at("last_ns"), .ended = heard.at("ended")};
}

}  // namespace bench
