// Where updates of echo sessions go: to every open stream of them.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace OrvSdkRpc {

class SbfdUpdateSender {
public:
   virtual ~SbfdUpdateSender() = default;
   // Any thread. Both take the message and never wait for a reader.
   virtual void sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& message) = 0;
   virtual void sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& message) = 0;
};

}  // namespace OrvSdkRpc
