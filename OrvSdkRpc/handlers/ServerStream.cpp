#include "OrvSdkRpc/handlers/ServerStream.h"

#include "OrvSdkRpc/handlers/PeerCheck.h"

namespace OrvSdkRpc {

void ServerStream::rejectInsecureRemote() const {
   maybeRejectInsecureRemote(owner_.properties(), [this] { return peer(); });
}

std::string traceText(const google::protobuf::Message& message) {
   return message.ShortDebugString();
}

}  // namespace OrvSdkRpc
