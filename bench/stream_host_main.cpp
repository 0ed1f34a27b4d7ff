// bench_stream_host: the library's mirror services over a software switch, with a source of events inside the
// process. Streams that need no such source are measured against the daemon itself.
#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <thread>

#include "EventSource.h"
#include "LabelSource.h"
#include "OrvSdkRpc/mirror/AgentService.h"
#include "OrvSdkRpc/mirror/IntfCounterService.h"
#include "OrvSdkRpc/mirror/MplsRouteService.h"
#include "OrvSdkRpc/mirror/NexthopGroupService.h"
#include "OrvSdkRpc/mirror/PolicyMapCountersService.h"
#include "OrvSdkRpc/server/GrpcServer.h"
#include "PolicySource.h"
#include "orv/lock.h"
#include "orv/tracer.h"
#include "softswitch/soft_switch.h"

namespace {

struct Options {
   std::string address;
   std::string stateDirectory;
   std::string source = "none";
   std::string resultFile;
   std::size_t watchers = 1;
   std::size_t interfaces = 10'000;
   std::size_t groups = 0;
   std::size_t rules = 10'000;
};

std::string groupName(std::size_t index) {
   char text[32];
   std::snprintf(text, sizeof text, "nhg-%07zu", index);
   return text;
}

void setGroups(softswitch::SoftSwitch& sdk, std::size_t count) {
   auto* const manager = sdk.get_nexthop_group_mgr();
   for (std::size_t first = 0; first < count; first += 1000) {
      const orv::sdk_scoped_lock lock;
      for (std::size_t index = first; index < std::min(first + 1000, count); ++index) {
         orv::nexthop_group_t group(groupName(index), orv::nexthop_group_encap_t::mpls);
         for (std::uint16_t slot = 0; slot < 4; ++slot) {
            const auto port = static_cast<std::uint8_t>((index + slot) % 64 + 1);
            const std::uint8_t hop[] = {10, 0, port, 2};
            orv::nexthop_group_entry_t entry(orv::ip_addr_t(orv::af_ipv4, hop));
            entry.mpls_action_is(
                 {orv::mpls_action_t::push,
                  {orv::mpls_label_t(static_cast<std::uint32_t>(100'000 + index % 900'000))}});
            entry.intf_is(orv::intf_id_t("Ethernet" + std::to_string(port)));
            group.nexthop_set(slot, std::move(entry));
         }
         manager->nexthop_group_set(group);
      }
   }
}

// Starts the server when the switch is ready.
class Starter final : public orv::agent_handler {
public:
   Starter(orv::agent_mgr* mgr, OrvSdkRpc::GrpcServer& server) : agent_handler(mgr), server_(server) {}
   void on_initialized() override {
      std::thread([this] { server_.run(); }).detach();
   }

private:
   OrvSdkRpc::GrpcServer& server_;
};

// Counts the entries that the service with this tracer reports: "Wrote {} entries to handler …".
void countWrites(bench::BulkSource& source, const std::string& tracer) {
   orv::trace_sink_is([&source](std::string_view, int, std::string_view text) {
      constexpr std::string_view wrote = "Wrote ";
      if (!text.starts_with(wrote)) return;
      std::uint64_t entries = 0;
      std::from_chars(text.data() + wrote.size(), text.data() + text.size(), entries);
      source.written(entries);
   });
   orv::trace_setting_is(tracer + "/8");
}

// Runs until it is killed.
void run(const Options& options) {
   softswitch::Options switchOptions;
   switchOptions.stateDirectory = options.stateDirectory;
   switchOptions.limits.nexthopGroups = std::max(switchOptions.limits.nexthopGroups, options.groups);
   softswitch::SoftSwitch sdk(std::move(switchOptions));
   setGroups(sdk, options.groups);

   OrvSdkRpc::IntfTrafficRatesWatcher watcher(sdk.get_mount_mgr());
   std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services;
   auto agent = std::make_unique<OrvSdkRpc::AgentService>(sdk.get_agent_mgr());
   auto& agentService = *agent;
   services.push_back(std::move(agent));
   services.push_back(std::make_unique<OrvSdkRpc::IntfCounterService>(sdk.get_intf_counter_mgr(), &watcher));
   services.push_back(std::make_unique<OrvSdkRpc::NexthopGroupService>(sdk.get_nexthop_group_mgr()));
   auto labels = std::make_unique<OrvSdkRpc::MplsRouteService>(sdk.get_mpls_route_mgr(), sdk.get_mount_mgr(),
                                                               sdk.get_nexthop_group_mgr());
   auto& labelService = *labels;
   services.push_back(std::move(labels));
   auto policies =
        std::make_unique<OrvSdkRpc::PolicyMapCountersService>(sdk.get_policy_map_mgr(), sdk.get_mount_mgr());
   auto& policyService = *policies;
   services.push_back(std::move(policies));
   auto properties = std::make_unique<OrvSdkRpc::ServerProperties>();
   properties->addresses = {options.address};
   properties->internalServer = true;
   OrvSdkRpc::GrpcServer server(std::move(properties), std::move(services),
                                grpc::InsecureServerCredentials());
   const Starter starter(sdk.get_agent_mgr(), server);

   const auto scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   std::unique_ptr<Pavo::Task> source;
   if (options.source == "options") {
      source = std::make_unique<bench::OptionSource>(scheduler, agentService);
   } else if (options.source == "clock") {
      source = std::make_unique<bench::ClockSource>(scheduler, agentService);
   } else if (options.source == "rates") {
      auto rates = std::make_unique<bench::RatesSource>(scheduler, watcher, options.interfaces);
      countWrites(*rates, "intf_counter");
      source = std::move(rates);
   } else if (options.source == "labels") {
      std::vector<std::string> groups;
      for (std::size_t i = 0; i < options.groups; ++i)
         groups.push_back(groupName(i));
      if (groups.empty()) throw std::runtime_error("--source labels needs --groups");
      source = std::make_unique<bench::LabelSource>(scheduler, sdk, labelService, groups);
   } else if (options.source == "policies") {
      auto counters = std::make_unique<bench::PolicySource>(scheduler, sdk, policyService, options.rules);
      countWrites(*counters, "policy_map_counters");
      source = std::move(counters);
   } else if (options.source != "none") {
      source = std::make_unique<bench::PublishMeter>(
           scheduler, agentService,
           bench::PublishMeter::Options{.watchers = options.watchers,
                                        .idle = options.source == "meter-idle",
                                        .resultFile = options.resultFile});
   }
   sdk.mainLoop();
   std::_Exit(0);
}

}  // namespace

int main(int argc, char** argv) {
   CLI::App app("Mirror services with a source of events; runs until it is killed");
   Options options;
   app.add_option("--listen", options.address, "Address to listen on, as gRPC writes it")->required();
   app.add_option("--state-dir", options.stateDirectory, "State directory")->required();
   app.add_option(
           "--source", options.source,
           "none; options, clock: changes of an option; rates; policies: counters of a policy; labels: sets "
           "them over the groups; "
           "meter: publishes into full queues, meter-idle: into idle ones, and writes what it cost to "
           "--result")
        ->check(CLI::IsMember(
             {"none", "options", "clock", "rates", "policies", "labels", "meter", "meter-idle"}));
   app.add_option("--result", options.resultFile, "File of the meter's result");
   app.add_option("--watchers", options.watchers, "Streams that the meter waits for");
   app.add_option("--interfaces", options.interfaces, "Interfaces whose rates change");
   app.add_option("--rules", options.rules, "Rules whose counters change");
   app.add_option("--groups", options.groups, "Nexthop groups that the switch has");
   CLI11_PARSE(app, argc, argv);
   try {
      run(options);
      return 0;
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 2;
   }
}
