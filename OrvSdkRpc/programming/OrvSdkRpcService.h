// The programming service. It owns the programmers and turns each RPC into one call of a programmer.
//
// Thread-safety: constructed on the SDK's main thread. The sends may be called on any thread, everything else
// only on the pump thread.
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
   // Starts one handler for each of the eighteen RPCs, in their order.
   void startHandlers() override;

   // Adds a stream that receives the updates of echo sessions.
   void registerSbfdHandlerForUpdates(OpaqueId tag) { updates_.insert(tag); }
   // Sends to every stream. Dropped when the server stops.
   void sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& message) override;
   void sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& message) override;

   [[nodiscard]] const ClientInit& client() const { return client_; }
   // RETURNS: the service's only programmer of this class.
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
