#include "OrvSdkRpc/mirror/IntfService.h"

#include <google/protobuf/util/message_differencer.h>

#include "OrvSdkRpc/handlers/BulkRequestHandler.h"
#include "OrvSdkRpc/handlers/DumpStreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {

using namespace orv::remote;

namespace IntfServiceHandlers {

using Rpc = IntfService::AsyncService;
using google::protobuf::util::MessageDifferencer;
using types::convert;

struct Exists {
   static constexpr auto method = &Rpc::Requestexists;
   static IntfExistsResponse impl(const IntfExistsRequest& request, IntfService& service) {
      IntfExistsResponse response;
      response.set_exists(service.get_intf_mgr()->exists(convert(request.intf_id())));
      return response;
   }
};

struct Intfs {
   static constexpr auto method = &Rpc::Requestintfs;
   static auto iterator(IntfService& service) { return service.get_intf_mgr()->intf_iter(); }
   static IntfsResponse convert(const orv::intf_id_t& intf) {
      IntfsResponse response;
      *response.mutable_intf_id() = types::convert(intf);
      return response;
   }
};

struct AdminEnabled {
   static constexpr auto method = &Rpc::Requestadmin_enabled;
   static IntfAdminEnabledResponse impl(const IntfAdminEnabledRequest& request, IntfService& service) {
      IntfAdminEnabledResponse response;
      response.set_admin_enabled(service.get_intf_mgr()->admin_enabled(convert(request.intf_id())));
      return response;
   }
};

struct AdminEnabledIs {
   static constexpr auto method = &Rpc::Requestadmin_enabled_is;
   static IntfAdminEnabledIsResponse impl(const IntfAdminEnabledIsRequest& request, IntfService& service) {
      service.get_intf_mgr()->admin_enabled_is(convert(request.intf_id()), request.admin_enabled());
      return {};
   }
};

struct BulkAdminEnabledIs : AdminEnabledIs {
   static constexpr auto method = &Rpc::Requestbulk_admin_enabled_is;
};

struct Description {
   static constexpr auto method = &Rpc::Requestdescription;
   static IntfDescriptionResponse impl(const IntfDescriptionRequest& request, IntfService& service) {
      IntfDescriptionResponse response;
      response.set_description(service.get_intf_mgr()->description(convert(request.intf_id())));
      return response;
   }
};

struct DescriptionIs {
   static constexpr auto method = &Rpc::Requestdescription_is;
   static IntfDescriptionIsResponse impl(const IntfDescriptionIsRequest& request, IntfService& service) {
      service.get_intf_mgr()->description_is(convert(request.intf_id()), request.description());
      return {};
   }
};

struct BulkDescriptionIs : DescriptionIs {
   static constexpr auto method = &Rpc::Requestbulk_description_is;
};

struct OperStatusOf {
   static constexpr auto method = &Rpc::Requestoper_status;
   static IntfOperStatusResponse impl(const IntfOperStatusRequest& request, IntfService& service) {
      IntfOperStatusResponse response;
      response.set_oper_status(convert(service.get_intf_mgr()->oper_status(convert(request.intf_id()))));
      return response;
   }
};

struct OrvIntfName {
   static constexpr auto method = &Rpc::Requestorv_intf_name;
   static OrvIntfNameResponse impl(const OrvIntfNameRequest& request, IntfService& service) {
      OrvIntfNameResponse response;
      *response.mutable_intf_id() =
           convert(service.get_intf_mgr()->orv_intf_name(request.kernel_intf_name()));
      return response;
   }
};

struct KernelIntfName {
   static constexpr auto method = &Rpc::Requestkernel_intf_name;
   static KernelIntfNameResponse impl(const KernelIntfNameRequest& request, IntfService& service) {
      KernelIntfNameResponse response;
      response.set_kernel_intf_name(service.get_intf_mgr()->kernel_intf_name(convert(request.intf_id())));
      return response;
   }
};

struct Watch {
   static constexpr auto method = &Rpc::Requestwatch;

   bool filter(const WatchIntfRequest& request, const WatchIntfResponse& message) const {
      if (request.all()) return true;
      // The names first: comparing messages is slow, and nearly all differ there.
      return message.intf().name() == request.intf().name() &&
             MessageDifferencer::Equals(message.intf(), request.intf());
   }

   bool dumpEnabled(IntfService& service, const WatchIntfRequest& request) {
      for (const int field : request.fields_control().fields()) {
         switch (field) {
            case INTF_FIELD_ALL:
               operStatus_ = adminEnabled_ = description_ = true;
               return true;
            case INTF_FIELD_OPER_STATUS:
               operStatus_ = true;
               break;
            case INTF_FIELD_ADMIN_ENABLED:
               adminEnabled_ = true;
               break;
            case INTF_FIELD_DESCRIPTION:
               description_ = true;
               break;
            default:
               orv::fmttrace(service.tracer(), 9, "Unrecognised field {} in dump request", field);
               break;
         }
      }
      if (operStatus_ || adminEnabled_ || description_) return true;
      orv::fmttrace(service.tracer(), 9, "Not performing a dump as no dump fields have been requested");
      return false;
   }

   static auto iterator(IntfService& service) { return service.get_intf_mgr()->intf_iter(); }

   void encodeDump(IntfService& service, const orv::intf_id_t& intf, WatchIntfResponse& message) const {
      *message.mutable_intf() = convert(intf);
      const orv::intf_mgr& mgr = *service.get_intf_mgr();
      try {
         if (operStatus_) {
            const orv::oper_status_t status = mgr.oper_status(intf);
            // Left out where the wire has no form for it; see TellOrTrace.h.
            tellOrTrace(service.tracer(), "oper_status", [&] { message.set_oper_status(convert(status)); });
         }
         if (adminEnabled_) message.set_admin_enabled(mgr.admin_enabled(intf));
         if (description_) message.set_description(mgr.description(intf));
      } catch (const orv::invalid_argument_error&) {
         // The interface may have gone since the walk came to it, and the client must not take it for one
         // that is there. Nothing else may be wrong with it.
         if (mgr.exists(intf)) throw;
         message.set_event(INTF_EVENT_DELETED);
      }
   }

private:
   bool operStatus_ = false;
   bool adminEnabled_ = false;
   bool description_ = false;
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
   subscriptions_.publish<Watch>(response);
}

void IntfService::on_intf_delete(const orv::intf_id_t& intf) {
   auto response = eventOf(intf);
   response.set_event(INTF_EVENT_DELETED);
   subscriptions_.publish<Watch>(response);
}

void IntfService::on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) {
   tellOrTrace(tracer(), "on_oper_status", [&] {
      auto response = eventOf(intf);
      response.set_oper_status(convert(status));
      subscriptions_.publish<Watch>(response);
   });
}

void IntfService::on_admin_enabled(const orv::intf_id_t& intf, bool enabled) {
   auto response = eventOf(intf);
   response.set_admin_enabled(enabled);
   subscriptions_.publish<Watch>(response);
}

void IntfService::on_intf_description(const orv::intf_id_t& intf, const std::string& description) {
   auto response = eventOf(intf);
   response.set_description(description);
   subscriptions_.publish<Watch>(response);
}

}  // namespace OrvSdkRpc
