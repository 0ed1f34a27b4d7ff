#include "OrvSdkRpc/mirror/IntfService.h"

#include <google/protobuf/util/message_differencer.h>

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/DumpFields.h"
#include "OrvSdkRpc/handlers/DumpStreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace IntfServiceHandlers {

using Rpc = IntfService::AsyncService;
using google::protobuf::util::MessageDifferencer;
using types::convert;

// A getter of one interface.
template <auto requestMethod, auto operation, auto slot>
using OfIntf = Getter<requestMethod, operation, slot, &RpcOf<requestMethod>::Request::intf_id>;

struct Exists : OfIntf<&Rpc::Requestexists, &orv::intf_mgr::exists, &IntfExistsResponse::set_exists> {};

struct Intfs : Lister<&Rpc::Requestintfs, &orv::intf_mgr::intf_iter, &IntfsResponse::mutable_intf_id> {};

struct AdminEnabled : OfIntf<&Rpc::Requestadmin_enabled, &orv::intf_mgr::admin_enabled,
                             &IntfAdminEnabledResponse::set_admin_enabled> {};
struct AdminEnabledIs
     : Setter<&Rpc::Requestadmin_enabled_is, &orv::intf_mgr::admin_enabled_is,
              &IntfAdminEnabledIsRequest::intf_id, &IntfAdminEnabledIsRequest::admin_enabled> {};
struct BulkAdminEnabledIs : BulkOf<AdminEnabledIs, &Rpc::Requestbulk_admin_enabled_is> {};

struct Description : OfIntf<&Rpc::Requestdescription, &orv::intf_mgr::description,
                            &IntfDescriptionResponse::mutable_description> {};
struct DescriptionIs : Setter<&Rpc::Requestdescription_is, &orv::intf_mgr::description_is,
                              &IntfDescriptionIsRequest::intf_id, &IntfDescriptionIsRequest::description> {};
struct BulkDescriptionIs : BulkOf<DescriptionIs, &Rpc::Requestbulk_description_is> {};

struct OperStatusOf : OfIntf<&Rpc::Requestoper_status, &orv::intf_mgr::oper_status,
                             &IntfOperStatusResponse::set_oper_status> {};

struct OrvIntfName : Getter<&Rpc::Requestorv_intf_name, &orv::intf_mgr::orv_intf_name,
                            &OrvIntfNameResponse::mutable_intf_id, &OrvIntfNameRequest::kernel_intf_name> {};
struct KernelIntfName : OfIntf<&Rpc::Requestkernel_intf_name, &orv::intf_mgr::kernel_intf_name,
                               &KernelIntfNameResponse::mutable_kernel_intf_name> {};

inline constexpr DumpTraces dumpTraces = {
     .level = 9,
     .nothing = "Not performing a dump as no dump fields have been requested",
     .unknown = "Unrecognised field {} in dump request",
};

struct Watch
     : WatchOf<&Rpc::Requestwatch, &IntfService::subscriptions>,
       DumpFields<dumpTraces, INTF_FIELD_OPER_STATUS, INTF_FIELD_ADMIN_ENABLED, INTF_FIELD_DESCRIPTION> {
   bool filter(const Request& request, const Response& message) const {
      if (request.all()) return true;
      // Names first: comparing messages is slow, and nearly all differ in the name.
      return message.intf().name() == request.intf().name() &&
             MessageDifferencer::Equals(message.intf(), request.intf());
   }

   static auto iterator(IntfService& service) { return service.manager().intf_iter(); }

   void encodeDump(IntfService& service, const orv::intf_id_t& intf, Response& message) const {
      *message.mutable_intf() = convert(intf);
      const orv::intf_mgr& mgr = service.manager();
      try {
         if (selected<INTF_FIELD_OPER_STATUS>()) {
            const orv::oper_status_t status = mgr.oper_status(intf);
            // Left out if the wire has no value for it; see TellOrTrace.h.
            tellOrTrace(service.tracer(), "oper_status", [&] { message.set_oper_status(convert(status)); });
         }
         if (selected<INTF_FIELD_ADMIN_ENABLED>()) message.set_admin_enabled(mgr.admin_enabled(intf));
         if (selected<INTF_FIELD_DESCRIPTION>()) message.set_description(mgr.description(intf));
      } catch (const orv::invalid_argument_error&) {
         // The interface may have been deleted since the iterator reached it, and the client must not believe
         // that it exists. No other error is expected here.
         if (mgr.exists(intf)) throw;
         message.set_event(INTF_EVENT_DELETED);
      }
   }

   static constexpr Hooks<Watch> hooks = {.filter = &Watch::filter};
};

}  // namespace IntfServiceHandlers

namespace {

using namespace IntfServiceHandlers;

WatchIntfResponse eventOf(const orv::intf_id_t& intf) {
   WatchIntfResponse response;
   *response.mutable_intf() = convert(intf);
   return response;
}

}  // namespace

IntfService::IntfService(orv::intf_mgr* mgr) : MirrorService("intf"), orv::intf_handler(mgr) {}

IntfService::~IntfService() = default;

void IntfService::startHandlers() {
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<IteratorStreamingHandler, Intfs>(*this);
   registerAdapter<UnaryRequestHandler, AdminEnabled>(*this);
   registerAdapter<UnaryRequestHandler, AdminEnabledIs>(*this);
   registerAdapter<BulkRequestHandler, BulkAdminEnabledIs>(*this);
   registerAdapter<UnaryRequestHandler, Description>(*this);
   registerAdapter<UnaryRequestHandler, DescriptionIs>(*this);
   registerAdapter<BulkRequestHandler, BulkDescriptionIs>(*this);
   registerAdapter<UnaryRequestHandler, OperStatusOf>(*this);
   registerAdapter<UnaryRequestHandler, OrvIntfName>(*this);
   registerAdapter<UnaryRequestHandler, KernelIntfName>(*this);
   registerAdapter<DumpStreamingAdapterHandler, Watch>(*this);
}

void IntfService::on_intf_create(const orv::intf_id_t& intf) {
   auto response = eventOf(intf);
   response.set_event(INTF_EVENT_CREATED);
   subscriptions_.publish(response);
}

void IntfService::on_intf_delete(const orv::intf_id_t& intf) {
   auto response = eventOf(intf);
   response.set_event(INTF_EVENT_DELETED);
   subscriptions_.publish(response);
}

void IntfService::on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) {
   tellOrTrace(tracer(), "on_oper_status", [&] {
      auto response = eventOf(intf);
      response.set_oper_status(convert(status));
      subscriptions_.publish(response);
   });
}

void IntfService::on_admin_enabled(const orv::intf_id_t& intf, bool enabled) {
   auto response = eventOf(intf);
   response.set_admin_enabled(enabled);
   subscriptions_.publish(response);
}

void IntfService::on_intf_description(const orv::intf_id_t& intf, const std::string& description) {
   auto response = eventOf(intf);
   response.set_description(description);
   subscriptions_.publish(response);
}

}  // namespace OrvSdkRpc
