#include "OrvSdkRpc/mirror/NexthopGroupService.h"

#include <limits>
#include <stdexcept>

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/DumpFields.h"
#include "OrvSdkRpc/handlers/DumpStreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/mirror/GroupCountersIterator.h"
#include "OrvSdkRpc/types/Counters.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/NexthopGroup.h"
#include "orv/error.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace NexthopGroupRpcs {

using Rpc = NexthopGroupService::AsyncService;
using types::convert;

// For operations that only the implementation has.
inline orv::NexthopGroupMgrImpl& implOf(NexthopGroupService& service) {
   return static_cast<orv::NexthopGroupMgrImpl&>(service.manager());
}

// A getter of one group.
template <auto requestMethod, auto operation, auto slot>
using OfGroup = Getter<requestMethod, operation, slot, &RpcOf<requestMethod>::Request::name>;

struct Active : OfGroup<&Rpc::Requestactive, &orv::nexthop_group_mgr::active,
                        &NexthopGroupActiveResponse::set_active> {};
struct Exists : OfGroup<&Rpc::Requestexists, &orv::nexthop_group_mgr::exists,
                        &NexthopGroupExistsResponse::set_exists> {};
struct Configured : OfGroup<&Rpc::Requestnexthop_group, &orv::nexthop_group_mgr::nexthop_group,
                            &NexthopGroupResponse::mutable_nexthop_group> {};
struct Programmed
     : OfGroup<&Rpc::Requestprogrammed_nexthop_group, &orv::nexthop_group_mgr::programmed_nexthop_group,
               &ProgrammedNexthopGroupResponse::mutable_nexthop_group> {};

struct Set : RpcOf<&Rpc::Requestnexthop_group_set> {
   static Response impl(const Request& request, NexthopGroupService& service) {
      constexpr std::uint32_t versionMax = std::numeric_limits<std::uint16_t>::max();
      Response response;
      if (request.has_version_id()) {
         const std::uint32_t version = request.version_id();
         if (version < 1 || version > versionMax) {
            orv::panic(orv::invalid_range_error("version_id", 1, versionMax));
         }
         implOf(service).nexthop_group_set_with_version_id(convert(request.nexthop_group()),
                                                           static_cast<std::uint16_t>(version));
      } else {
         std::uint16_t version = 0;
         service.manager().nexthop_group_set(convert(request.nexthop_group()), version);
         response.set_version_id(version);
      }
      return response;
   }
};

struct BulkSet : BulkOf<Set, &Rpc::Requestbulk_nexthop_group_set> {};

struct Del : Setter<&Rpc::Requestnexthop_group_del, &orv::nexthop_group_mgr::nexthop_group_del,
                    &NexthopGroupDelRequest::name> {};
struct BulkDel : BulkOf<Del, &Rpc::Requestbulk_nexthop_group_del> {};

struct Counter : RpcOf<&Rpc::Requestcounter> {
   static Response impl(const Request& request, NexthopGroupService& service) {
      Response response;
      *response.mutable_counter() =
           convert(service.manager().counter(request.name(), static_cast<std::uint16_t>(request.entry())));
      return response;
   }
};

struct Counters : RpcOf<&Rpc::Requestnhg_counters> {
   static GroupCountersIterator iterator(const Request& request, NexthopGroupService& service) {
      const orv::nexthop_group_mgr& mgr = service.manager();
      if (request.all()) return GroupCountersIterator(mgr);
      if (request.regex().empty()) return {mgr, request.name()};
      return {mgr, compiled(request.regex())};
   }
   static NameRegex compiled(const std::string& expression) {
      try {
         return NameRegex(expression);
      } catch (const std::invalid_argument& e) {
         throw orv::invalid_argument_error(e.what());
      }
   }
   static Response convert(const GroupCounters& group) {
      Response response;
      response.set_name(group.name);
      for (const auto& [entry, counter] : group.counters) {
         NexthopGroupCounter& message = *response.add_counters();
         message = types::convert(counter);
         message.set_entry(entry);
      }
      return response;
   }
};

struct NexthopGroups : RpcOf<&Rpc::Requestnexthop_groups> {
   static auto iterator(NexthopGroupService& service) { return service.manager().nexthop_group_iter(); }
   static void convert(const orv::nexthop_group_t& group, Response& response) {
      types::convert(group, *response.mutable_nexthop_group());
   }
};

struct ProgrammedNexthopGroups
     : Lister<&Rpc::Requestprogrammed_nexthop_groups, &orv::nexthop_group_mgr::programmed_nexthop_group_iter,
              &ProgrammedNexthopGroupsResponse::mutable_name> {};

struct ResyncInit : Setter<&Rpc::Requestresync_init, &orv::nexthop_group_mgr::resync_init> {};
struct ResyncComplete : Setter<&Rpc::Requestresync_complete, &orv::nexthop_group_mgr::resync_complete> {};

inline constexpr DumpTraces dumpTraces = {
     .level = 9,
     .nothing = "Not performing a dump as no fields have been requested",
};

struct Watch : WatchOf<&Rpc::Requestwatch, &NexthopGroupService::subscriptions>,
               DumpFields<dumpTraces, NEXTHOP_GROUP_FIELD_ACTIVE_STATUS, NEXTHOP_GROUP_FIELD_PROGRAMMED,
                          NEXTHOP_GROUP_FIELD_VERSION, NEXTHOP_GROUP_FIELD_NEXTHOP_GROUP,
                          NEXTHOP_GROUP_FIELD_PROGRAMMED_STATUS> {
   bool filter(const Request& request, const Response& message) const {
      return request.all() || message.name() == request.name();
   }

   static auto iterator(NexthopGroupService& service) {
      return service.manager().programmed_nexthop_group_iter();
   }

   // A group that has left the hardware since the iterator reached it is sent without a name.
   void encodeDump(NexthopGroupService& service, const std::string& name, Response& message) const {
      const orv::NexthopGroupMgrImpl& mgr = implOf(service);
      const orv::nexthop_group_t group = mgr.programmed_nexthop_group(name);
      message.set_name(group.name());
      if (selected<NEXTHOP_GROUP_FIELD_ACTIVE_STATUS>()) message.set_active(mgr.active(name));
      if (selected<NEXTHOP_GROUP_FIELD_PROGRAMMED>()) message.set_nhg_programmed(true);
      if (selected<NEXTHOP_GROUP_FIELD_VERSION>()) message.set_version_id(group.version_id());
      // A field is left out if the wire has no value for it; see TellOrTrace.h.
      if (selected<NEXTHOP_GROUP_FIELD_NEXTHOP_GROUP>()) {
         tellOrTrace(service.tracer(), "nexthop_group",
                     [&] { *message.mutable_nexthop_group() = convert(group); });
      }
      if (selected<NEXTHOP_GROUP_FIELD_PROGRAMMED_STATUS>()) {
         const auto hwState = mgr.get_nexthop_group_programmed_hw_state(name);
         const auto counterState = mgr.counter_state(name);
         tellOrTrace(service.tracer(), "on_nexthop_group_programmed", [&] {
            OnNexthopGroupProgrammed status;
            status.set_hw_state(convert(hwState));
            status.set_counter_state(convert(counterState));
            *message.mutable_on_nexthop_group_programmed() = std::move(status);
         });
      }
   }

   static constexpr Hooks<Watch> hooks = {.filter = &Watch::filter};
};

}  // namespace NexthopGroupRpcs

using namespace NexthopGroupRpcs;

void NexthopGroupBacklog::operator()(const std::string&, WatchNexthopGroupResponse& response) const {
   service.subscriptions().publish(response);
}

NexthopGroupService::NexthopGroupService(orv::nexthop_group_mgr* mgr)
     : MirrorService("nexthop_group"),
       orv::nexthop_group_handler_v3(mgr),
       activeBacklog_("NexthopGroupActiveBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                      NexthopGroupBacklog{*this}),
       programmedBacklog_("NexthopGroupProgrammedBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                          NexthopGroupBacklog{*this}) {}

NexthopGroupService::~NexthopGroupService() = default;

void NexthopGroupService::startHandlers() {
   registerAdapter<UnaryRequestHandler, Active>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, Configured>(*this);
   registerAdapter<UnaryRequestHandler, Programmed>(*this);
   registerAdapter<UnaryRequestHandler, Set>(*this);
   registerAdapter<BulkRequestHandler, BulkSet>(*this);
   registerAdapter<UnaryRequestHandler, Del>(*this);
   registerAdapter<BulkRequestHandler, BulkDel>(*this);
   registerAdapter<UnaryRequestHandler, Counter>(*this);
   registerAdapter<IteratorStreamingHandler, Counters>(*this);
   registerAdapter<IteratorStreamingHandler, NexthopGroups>(*this);
   registerAdapter<IteratorStreamingHandler, ProgrammedNexthopGroups>(*this);
   registerAdapter<UnaryRequestHandler, ResyncInit>(*this);
   registerAdapter<UnaryRequestHandler, ResyncComplete>(*this);
   registerAdapter<DumpStreamingAdapterHandler, Watch>(*this);
}

void NexthopGroupService::startWatching() {
   // Pending events are for watchers that have left. They are older than what a new watcher reads, and no
   // later event corrects them: changes are not reported while nobody watches.
   activeBacklog_.clear();
   programmedBacklog_.clear();
   watch_all_nexthop_groups(true);
}

void NexthopGroupService::on_nexthop_group_active(const std::string& name, bool active) {
   WatchNexthopGroupResponse& response = activeBacklog_.get(name);
   response.set_name(name);
   response.set_active(active);
}

void NexthopGroupService::on_nexthop_group_programmed(const std::string& name, std::uint16_t version,
                                                      const orv::nexthop_group_programmed_status_t& status) {
   tellOrTrace(tracer(), "on_nexthop_group_programmed", [&] {
      const auto hwState = convert(status.hw_state());
      const auto counterState = convert(status.counter_state());
      WatchNexthopGroupResponse& response = programmedBacklog_.get(name);
      response.set_name(name);
      response.set_version_id(version);
      response.set_nhg_programmed(true);
      OnNexthopGroupProgrammed& programmed = *response.mutable_on_nexthop_group_programmed();
      programmed.set_hw_state(hwState);
      programmed.set_counter_state(counterState);
   });
}

}  // namespace OrvSdkRpc
