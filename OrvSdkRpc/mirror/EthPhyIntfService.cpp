#include "OrvSdkRpc/mirror/EthPhyIntfService.h"

#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"
#include "OrvSdkRpc/handlers/StreamingAdapterHandler.h"
#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc {
namespace {

using namespace orv::remote;
using Rpc = EthPhyIntfService::AsyncService;
using types::convert;

struct Exists {
   static constexpr auto method = &Rpc::Requestexists;
   static EthPhyIntfExistsResponse impl(const EthPhyIntfExistsRequest& request, EthPhyIntfService& service) {
      EthPhyIntfExistsResponse response;
      response.set_exists(service.get_eth_phy_intf_mgr()->exists(convert(request.intf_id())));
      return response;
   }
};

struct Intfs {
   static constexpr auto method = &Rpc::Requesteth_phy_intfs;
   static auto iterator(EthPhyIntfService& service) {
      return service.get_eth_phy_intf_mgr()->eth_phy_intf_iter();
   }
   static EthPhyIntfsResponse convert(const orv::intf_id_t& intf) {
      EthPhyIntfsResponse response;
      *response.mutable_intf_id() = types::convert(intf);
      return response;
   }
};

struct HardwarePresent {
   static constexpr auto method = &Rpc::Requesthardware_present;
   static EthPhyIntfHardwarePresentResponse impl(const EthPhyIntfHardwarePresentRequest& request,
                                                 EthPhyIntfService& service) {
      EthPhyIntfHardwarePresentResponse response;
      response.set_hardware_present(
           service.get_eth_phy_intf_mgr()->hardware_present(convert(request.intf_id())));
      return response;
   }
};

struct BurnedInEthAddr {
   static constexpr auto method = &Rpc::Requestburned_in_eth_addr;
   static EthPhyIntfBurnedInEthAddrResponse impl(const EthPhyIntfBurnedInEthAddrRequest& request,
                                                 EthPhyIntfService& service) {
      EthPhyIntfBurnedInEthAddrResponse response;
      response.set_burned_in_eth_addr(types::eth_addr_bytes(
           service.get_eth_phy_intf_mgr()->burned_in_eth_addr(convert(request.intf_id())), false));
      return response;
   }
};

struct LinkSpeed {
   static constexpr auto method = &Rpc::Requestlink_speed;
   static EthPhyIntfLinkSpeedResponse impl(const EthPhyIntfLinkSpeedRequest& request,
                                           EthPhyIntfService& service) {
      EthPhyIntfLinkSpeedResponse response;
      response.set_link_speed(
           convert(service.get_eth_phy_intf_mgr()->link_speed(convert(request.intf_id()))));
      return response;
   }
};

struct TransceiverPresent {
   static constexpr auto method = &Rpc::Requesttransceiver_present;
   static EthPhyIntfTransceiverPresentResponse impl(const EthPhyIntfTransceiverPresentRequest& request,
                                                    EthPhyIntfService& service) {
      EthPhyIntfTransceiverPresentResponse response;
      response.set_transceiver_present(
           service.get_eth_phy_intf_mgr()->transceiver_present(convert(request.intf_id())));
      return response;
   }
};

struct Watch {
   static constexpr auto method = &Rpc::Requestwatch;

   bool filter(const EthPhyIntfWatchRequest& request, const EthPhyIntfWatchResponse& message) const {
      switch (request.selection_case()) {
         case EthPhyIntfWatchRequest::kAll:
            return request.all();
         case EthPhyIntfWatchRequest::kIntf:
            return checkIntfId(request.intf(), message);
         case EthPhyIntfWatchRequest::SELECTION_NOT_SET:
            break;
      }
      return false;
   }

   // The events of a message are all of one interface.
   static bool checkIntfId(const IntfId& intf, const EthPhyIntfWatchResponse& message) {
      return message.intf().name() == intf.name();
   }
};

}  // namespace

void EthPhyIntfBacklog::operator()(const orv::intf_id_t&, EthPhyIntfWatchResponse& response) const {
   service.subscriptions().publish<Watch>(response);
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
