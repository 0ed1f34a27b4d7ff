#include "OrvSdkRpc/mirror/NexthopGroupService.h"

#include <limits>
#include <stdexcept>

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/DumpStreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
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

// The operations that only the implementation has.
inline orv::NexthopGroupMgrImpl& implOf(NexthopGroupService& service) {
   return static_cast<orv::NexthopGroupMgrImpl&>(*service.get_nexthop_group_mgr());
}

struct Active {
   static constexpr auto method = &Rpc::Requestactive;
   static NexthopGroupActiveResponse impl(const NexthopGroupActiveRequest& request,
                                          NexthopGroupService& service) {
      NexthopGroupActiveResponse response;
      response.set_active(service.get_nexthop_group_mgr()->active(request.name()));
      return response;
   }
};

struct Exists {
   static constexpr auto method = &Rpc::Requestexists;
   static NexthopGroupExistsResponse impl(const NexthopGroupExistsRequest& request,
                                          NexthopGroupService& service) {
      NexthopGroupExistsResponse response;
      response.set_exists(service.get_nexthop_group_mgr()->exists(request.name()));
      return response;
   }
};

struct Configured {
   static constexpr auto method = &Rpc::Requestnexthop_group;
   static NexthopGroupResponse impl(const NexthopGroupRequest& request, NexthopGroupService& service) {
      NexthopGroupResponse response;
      *response.mutable_nexthop_group() =
           convert(service.get_nexthop_group_mgr()->nexthop_group(request.name()));
      return response;
   }
};

struct Programmed {
   static constexpr auto method = &Rpc::Requestprogrammed_nexthop_group;
   static ProgrammedNexthopGroupResponse impl(const ProgrammedNexthopGroupRequest& request,
                                              NexthopGroupService& service) {
      ProgrammedNexthopGroupResponse response;
      *response.mutable_nexthop_group() =
           convert(service.get_nexthop_group_mgr()->programmed_nexthop_group(request.name()));
      return response;
   }
};

struct Set {
   static constexpr auto method = &Rpc::Requestnexthop_group_set;
   static NexthopGroupSetResponse impl(const NexthopGroupSetRequest& request, NexthopGroupService& service) {
      constexpr std::uint32_t versionMax = std::numeric_limits<std::uint16_t>::max();
      NexthopGroupSetResponse response;
      if (request.has_version_id()) {
         const std::uint32_t version = request.version_id();
         if (version < 1 || version > versionMax) {
            orv::panic(orv::invalid_range_error("version_id", 1, versionMax));
         }
         implOf(service).nexthop_group_set_with_version_id(convert(request.nexthop_group()),
                                                           static_cast<std::uint16_t>(version));
      } else {
         std::uint16_t version = 0;
         service.get_nexthop_group_mgr()->nexthop_group_set(convert(request.nexthop_group()), version);
         response.set_version_id(version);
      }
      return response;
   }
};

struct BulkSet : Set {
   static constexpr auto method = &Rpc::Requestbulk_nexthop_group_set;
};

struct Del {
   static constexpr auto method = &Rpc::Requestnexthop_group_del;
   static NexthopGroupDelResponse impl(const NexthopGroupDelRequest& request, NexthopGroupService& service) {
      service.get_nexthop_group_mgr()->nexthop_group_del(request.name());
      return {};
   }
};

struct BulkDel : Del {
   static constexpr auto method = &Rpc::Requestbulk_nexthop_group_del;
};

struct Counter {
   static constexpr auto method = &Rpc::Requestcounter;
   static CounterResponse impl(const CounterRequest& request, NexthopGroupService& service) {
      CounterResponse response;
      *response.mutable_counter() = convert(service.get_nexthop_group_mgr()->counter(
           request.name(), static_cast<std::uint16_t>(request.entry())));
      return response;
   }
};

struct Counters {
   static constexpr auto method = &Rpc::Requestnhg_counters;
   static GroupCountersIterator iterator(const NexthopGroupCountersRequest& request,
                                         NexthopGroupService& service) {
      const orv::nexthop_group_mgr& mgr = *service.get_nexthop_group_mgr();
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
   static NexthopGroupCountersResponse convert(const GroupCounters& group) {
      NexthopGroupCountersResponse response;
      response.set_name(group.name);
      for (const auto& [entry, counter] : group.counters) {
         NexthopGroupCounter& message = *response.add_counters();
         message = types::convert(counter);
         message.set_entry(entry);
      }
      return response;
   }
};

struct NexthopGroups {
   static constexpr auto method = &Rpc::Requestnexthop_groups;
   static auto iterator(NexthopGroupService& service) {
      return service.get_nexthop_group_mgr()->nexthop_group_iter();
   }
   static void convert(const orv::nexthop_group_t& group, NexthopGroupsResponse& response) {
      types::convert(group, *response.mutable_nexthop_group());
   }
};

struct ProgrammedNexthopGroups {
   static constexpr auto method = &Rpc::Requestprogrammed_nexthop_groups;
   static auto iterator(NexthopGroupService& service) {
      return service.get_nexthop_group_mgr()->programmed_nexthop_group_iter();
   }
   static ProgrammedNexthopGroupsResponse convert(const std::string& name) {
      ProgrammedNexthopGroupsResponse response;
      response.set_name(name);
      return response;
   }
};

struct ResyncInit {
   static constexpr auto method = &Rpc::Requestresync_init;
   static ResyncNexthopGroupInitResponse impl(const ResyncNexthopGroupInitRequest&,
                                              NexthopGroupService& service) {
      service.get_nexthop_group_mgr()->resync_init();
      return {};
   }
};

struct ResyncComplete {
   static constexpr auto method = &Rpc::Requestresync_complete;
   static ResyncNexthopGroupCompleteResponse impl(const ResyncNexthopGroupCompleteRequest&,
                                                  NexthopGroupService& service) {
      service.get_nexthop_group_mgr()->resync_complete();
      return {};
   }
};

struct Watch {
   static constexpr auto method = &Rpc::Requestwatch;

   bool filter(const WatchNexthopGroupRequest& request, const WatchNexthopGroupResponse& message) const {
      return request.all() || message.name() == request.name();
   }

   bool dumpEnabled(NexthopGroupService& service, const WatchNexthopGroupRequest& request) {
      for (const int field : request.fields_control().fields()) {
         switch (field) {
            case NEXTHOP_GROUP_FIELD_ALL:
               activeStatus_ = programmed_ = version_ = nexthopGroup_ = programmedStatus_ = true;
               return true;
            case NEXTHOP_GROUP_FIELD_ACTIVE_STATUS:
               activeStatus_ = true;
               break;
            case NEXTHOP_GROUP_FIELD_PROGRAMMED:
               programmed_ = true;
               break;
            case NEXTHOP_GROUP_FIELD_VERSION:
               version_ = true;
               break;
            case NEXTHOP_GROUP_FIELD_NEXTHOP_GROUP:
               nexthopGroup_ = true;
               break;
            case NEXTHOP_GROUP_FIELD_PROGRAMMED_STATUS:
               programmedStatus_ = true;
               break;
            default:
               break;
         }
      }
      if (activeStatus_ || programmed_ || version_ || nexthopGroup_ || programmedStatus_) return true;
      orv::fmttrace(service.tracer(), 9, "Not performing a dump as no fields have been requested");
      return false;
   }

   static auto iterator(NexthopGroupService& service) {
      return service.get_nexthop_group_mgr()->programmed_nexthop_group_iter();
   }

   // A group that hardware lost since the walk came to it is shown as one without a name.
   void encodeDump(NexthopGroupService& service, const std::string& name,
                   WatchNexthopGroupResponse& message) const {
      const orv::NexthopGroupMgrImpl& mgr = implOf(service);
      const orv::nexthop_group_t group = mgr.programmed_nexthop_group(name);
      message.set_name(group.name());
      if (activeStatus_) message.set_active(mgr.active(name));
      if (programmed_) message.set_nhg_programmed(true);
      if (version_) message.set_version_id(group.version_id());
      // A field that the wire has no form for is left out; see TellOrTrace.h.
      if (nexthopGroup_) {
         tellOrTrace(service.tracer(), "nexthop_group",
                     [&] { *message.mutable_nexthop_group() = convert(group); });
      }
      if (programmedStatus_) {
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

private:
   bool activeStatus_ = false;
   bool programmed_ = false;
   bool version_ = false;
   bool nexthopGroup_ = false;
   bool programmedStatus_ = false;
};

}  // namespace NexthopGroupRpcs

using namespace NexthopGroupRpcs;

void NexthopGroupBacklog::operator()(const std::string&, WatchNexthopGroupResponse& response) const {
   service.subscriptions().publish<Watch>(response);
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
