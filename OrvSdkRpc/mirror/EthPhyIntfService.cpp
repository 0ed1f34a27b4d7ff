#include "OrvSdkRpc/mirror/EthPhyIntfService.h"

#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/mirror/Forward.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {
namespace {

using namespace orv::remote;
using Rpc = EthPhyIntfService::AsyncService;
using types::convert;

// Every unary request names an interface.
template <auto requestMethod, auto operation, auto slot>
using OfIntf = Getter<requestMethod, operation, slot, &RpcOf<requestMethod>::Request::intf_id>;

struct Exists
     : OfIntf<&Rpc::Requestexists, &orv::eth_phy_intf_mgr::exists, &EthPhyIntfExistsResponse::set_exists> {};

struct Intfs : Lister<&Rpc::Requesteth_phy_intfs, &orv::eth_phy_intf_mgr::eth_phy_intf_iter,
                      &EthPhyIntfsResponse::mutable_intf_id> {};

struct HardwarePresent : OfIntf<&Rpc::Requesthardware_present, &orv::eth_phy_intf_mgr::hardware_present,
                                &EthPhyIntfHardwarePresentResponse::set_hardware_present> {};

struct BurnedInEthAddr : RpcOf<&Rpc::Requestburned_in_eth_addr> {
   static Response impl(const Request& request, EthPhyIntfService& service) {
      Response response;
      response.set_burned_in_eth_addr(
           types::eth_addr_bytes(service.manager().burned_in_eth_addr(convert(request.intf_id())), false));
      return response;
   }
};

struct LinkSpeed : OfIntf<&Rpc::Requestlink_speed, &orv::eth_phy_intf_mgr::link_speed,
                          &EthPhyIntfLinkSpeedResponse::set_link_speed> {};

struct TransceiverPresent
     : OfIntf<&Rpc::Requesttransceiver_present, &orv::eth_phy_intf_mgr::transceiver_present,
              &EthPhyIntfTransceiverPresentResponse::set_transceiver_present> {};

}  // namespace

struct EthPhyIntfService::Watch
     : WatchOf<&EthPhyIntfService::AsyncService::Requestwatch, &EthPhyIntfService::subscriptions> {
   bool filter(const Request& request, const Response& message) const {
      switch (request.selection_case()) {
         case Request::kAll:
            return request.all();
         case Request::kIntf:
            return checkIntfId(request.intf(), message);
         case Request::SELECTION_NOT_SET:
            break;
      }
      return false;
   }

   // All events of a message concern the same interface.
   static bool checkIntfId(const IntfId& intf, const Response& message) {
      return message.intf().name() == intf.name();
   }

   static constexpr Hooks<Watch> hooks = {.filter = &Watch::filter};
};

void EthPhyIntfBacklog::operator()(const orv::intf_id_t&, EthPhyIntfWatchResponse& response) const {
   service.subscriptions().publish(response);
}

EthPhyIntfService::EthPhyIntfService(orv::eth_phy_intf_mgr* mgr)
     : MirrorService("eth-phy-intf"),
       orv::eth_phy_intf_handler(mgr),
       backlog_("EthPhyIntfBacklog", Gorm::TaskSchedulerRoot::findOrCreateScheduler(),
                EthPhyIntfBacklog{*this}) {}

EthPhyIntfService::~EthPhyIntfService() = default;

void EthPhyIntfService::startHandlers() {
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<IteratorStreamingHandler, Intfs>(*this);
   registerAdapter<UnaryRequestHandler, HardwarePresent>(*this);
   registerAdapter<UnaryRequestHandler, BurnedInEthAddr>(*this);
   registerAdapter<UnaryRequestHandler, LinkSpeed>(*this);
   registerAdapter<UnaryRequestHandler, TransceiverPresent>(*this);
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
}

void EthPhyIntfService::startWatching() {
   // Pending events are for watchers that have left. They are older than what a new watcher reads, and no
   // later event corrects them: changes are not reported while nobody watches.
   backlog_.clear();
   watch_all_eth_phy_intfs(true);
}

EthPhyIntfWatchResponse& EthPhyIntfService::pending(const orv::intf_id_t& intf) {
   EthPhyIntfWatchResponse& response = backlog_.get(intf);
   response.mutable_intf()->set_name(intf.name().data(), intf.name().size());
   return response;
}

void EthPhyIntfService::on_eth_phy_intf_create(const orv::intf_id_t& intf) {
   pending(intf).mutable_on_eth_phy_intf_create();
}

void EthPhyIntfService::on_eth_phy_intf_delete(const orv::intf_id_t& intf) {
   pending(intf).mutable_on_eth_phy_intf_delete();
}

void EthPhyIntfService::on_eth_phy_intf_hardware_present(const orv::intf_id_t& intf, bool present) {
   pending(intf).mutable_on_eth_phy_intf_hardware_present()->set_hardware_present(present);
}

void EthPhyIntfService::on_eth_phy_intf_link_speed(const orv::intf_id_t& intf, orv::eth_link_speed_t speed) {
   tellOrTrace(tracer(), "on_eth_phy_intf_link_speed", [&] {
      const auto wire = convert(speed);
      pending(intf).mutable_on_eth_phy_intf_link_speed()->set_link_speed(wire);
   });
}

void EthPhyIntfService::on_eth_phy_intf_transceiver_present(const orv::intf_id_t& intf, bool present) {
   pending(intf).mutable_on_eth_phy_intf_transceiver_present()->set_transceiver_present(present);
}

}  // namespace OrvSdkRpc
