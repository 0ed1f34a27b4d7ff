// The programming service: it owns the programmers and turns each RPC into one call of one of them.
//
// Thread-safety: constructed on the SDK's main thread, then pump thread only.
#pragma once

#include <grpcpp/server_builder.h>

#include <tuple>

#include "OrvSdkRpc/programming/BfdProgrammer.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "OrvSdkRpc/programming/ClientInit.h"
#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "OrvSdkRpc/programming/MplsRouteProgrammer.h"
#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"
#include "OrvSdkRpc/programming/NhgTunnelProgrammer.h"
#include "OrvSdkRpc/programming/OpaqueProgrammer.h"
#include "OrvSdkRpc/programming/ProgrammingManagers.h"
#include "OrvSdkRpc/programming/SbfdEchoUpdates.h"
#include "OrvSdkRpc/programming/SbfdUpdateSender.h"
#include "OrvSdkRpc/server/GrpcService.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"

namespace OrvSdkRpc {

class OrvSdkRpcService final : public GrpcService,
                               public pb::orvsdk_service::AsyncService,
                               public SbfdUpdateSender {
public:
   using AsyncService = pb::orvsdk_service::AsyncService;

   explicit OrvSdkRpcService(const ProgrammingManagers& managers);
   ~OrvSdkRpcService() override;

   void registerRpcService(grpc::ServerBuilder& builder) override;
   // One handler for each of the eighteen RPCs, in their order.
   void startHandlers() override;

   // Adds a stream to those that get the updates of echo sessions.
   void registerSbfdHandlerForUpdates(OpaqueId tag) { updates_.insert(tag); }
   // To every stream; dropped when the server stops.
   void sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& message) override;
   void sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& message) override;

   [[nodiscard]] const ClientInit& client() const { return client_; }
   // The only one of its class.
   template <class Programmer>
   [[nodiscard]] Programmer& programmer() {
      return std::get<Programmer&>(
           std::tie(client_, bfd_, cbf_, ip_, mpls_, nexthopGroups_, tunnels_, opaque_));
   }

private:
   SbfdEchoUpdates updates_;
   ClientInit client_;
   BfdProgrammer bfd_;
   CbfNhgRedirectProgrammer cbf_;
   IpRouteProgrammer ip_;
   MplsRouteProgrammer mpls_;
   NexthopGroupProgrammer nexthopGroups_;
   NhgTunnelProgrammer tunnels_;
   OpaqueProgrammer opaque_;
};

}  // namespace OrvSdkRpc
