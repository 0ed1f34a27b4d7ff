// Calls of the mirror services. Free functions; each uses its connection from the calling thread.
#pragma once

#include <functional>
#include <string>

#include "OrvSdkRpcProtos/status.pb.h"
#include "OrvSdkRpcProtos/types.pb.h"
#include "orvctl/Connection.h"
#include "orvctl/Context.h"

namespace orvctl {

// A unary call of `rpc`, such as "IntfMgrService/oper_status". `about` names in an error what was asked
// about, such as an interface. Throws as Connection::require does.
void askMirror(Connection& connection, const std::string& rpc, const std::string& about,
               const google::protobuf::Message& request, google::protobuf::Message& reply);

template <typename Reply, typename Request>
Reply ask(Connection& connection, const std::string& rpc, const std::string& about, const Request& request) {
   Reply reply;
   askMirror(connection, rpc, about, request, reply);
   return reply;
}

// A list RPC: `each(element)` is called for every element and answers false to end early. Only a --timeout
// that was given bounds it.
template <typename Reply, typename Request, typename Each>
void listMirror(Context& context, Connection& connection, const std::string& rpc, const Request& request,
                Each each) {
   Reply reply;
   connection.require(
        rpc, connection.stream(
                  "/orv.remote." + rpc, request, reply, [&] { return each(reply); }, context.timeoutGiven));
}

// An interface as the wire has it.
orv::remote::IntfId intfId(const std::string& name);

// What a bulk of `sent` items came to: a line for a person or JSON, and the exit code. The item behind the
// last that was applied is the one that failed; `name(index)` names it.
int reportMirrorBulk(Context& context, const orv::remote::RpcResponseStatus& status, uint64_t count,
                     uint64_t sent, const std::function<std::string(uint64_t)>& name);

}  // namespace orvctl
