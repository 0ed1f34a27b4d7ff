// Sends updates of echo sessions to every open stream.
//
// Thread-safety: any thread.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace OrvSdkRpc {

class SbfdUpdateSender {
public:
   virtual ~SbfdUpdateSender() = default;
   // Both take the message and never wait for a reader.
   virtual void sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg&& message) = 0;
   virtual void sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg&& message) = 0;
};

}  // namespace OrvSdkRpc
