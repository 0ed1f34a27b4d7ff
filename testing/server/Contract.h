// A ClientInit over mocks, with the programmers that it calls.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/BfdProgrammer.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "OrvSdkRpc/programming/ClientInit.h"
#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "testing/server/AgentHost.h"

namespace orvtest {

// Records the updates for the streams of echo sessions.
struct SentUpdates final : OrvSdkRpc::SbfdUpdateSender {
   using Message = OrvSdkRpc::pb::watch_sbfd_echo_session_status_msg;
   void sendSbfdAliveUpdate(Message&& message) override { alive.push_back(std::move(message)); }
   void sendSbfdRttUpdate(Message&& message) override { rtt.push_back(std::move(message)); }

   std::vector<Message> alive;
   std::vector<Message> rtt;
};

struct Contract {
   // `cbfNhgMgr` may be null.
   explicit Contract(OrvSdkRpc::CbfNhgMgr* cbfNhgMgr = nullptr)
        : cbf(client, &host.policyMapMgr, &host.classMapMgr, &host.aclMgr, &host.agentMgr, cbfNhgMgr) {
      client.programmersAre({.ipRoute = &ip, .cbf = &cbf, .bfd = &bfd});
   }

   OrvSdkRpc::pb::rpc_server_init_status_msg init(std::uint32_t tag = 0, const std::string& policyMap = "") {
      OrvSdkRpc::pb::rpc_server_config_msg request;
      request.set_ip_route_tag(tag);
      request.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
      OrvSdkRpc::pb::rpc_server_init_status_msg response;
      client.processInitRequest(request, response);
      return response;
   }
   // `phase` as it stands on the wire.
   OrvSdkRpc::pb::rpc_status_msg resync(int phase) {
      OrvSdkRpc::pb::rpc_server_resync_msg request;
      request.set_resync_phase(static_cast<OrvSdkRpc::pb::rpc_server_resync_msg::resync_phase_enum>(phase));
      OrvSdkRpc::pb::rpc_status_msg response;
      client.processResync(request, response);
      return response;
   }

   AgentHost host;
   OrvSdkRpc::ClientInit client{&host.ipRouteMgr, &host.mplsRouteMgr, &host.mplsVrfLabelMgr,
                                &host.nexthopGroupMgr, &host.tunnelMgr};
   SentUpdates updates;
   OrvSdkRpc::BfdProgrammer bfd{client, &host.bfdSessionMgr, &host.intfMgr, updates};
   OrvSdkRpc::CbfNhgRedirectProgrammer cbf;
   OrvSdkRpc::IpRouteProgrammer ip{client, &host.ipRouteMgr};
};

}  // namespace orvtest
