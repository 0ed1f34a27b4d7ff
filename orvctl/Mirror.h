// Calls of the mirror services.
// Thread-safety: any thread; each call uses its connection on the calling thread.
#pragma once

#include <functional>
#include <string>

#include "OrvSdkRpcProtos/status.pb.h"
#include "OrvSdkRpcProtos/types.pb.h"
#include "orvctl/Connection.h"
#include "orvctl/Context.h"
#include "orvctl/Progress.h"

namespace orvctl {

// Makes a unary call of `rpc`, such as "IntfMgrService/oper_status". `about` names the subject in an error
// text, such as an interface.
// THROWS: as Connection::require.
void askMirror(Connection& connection, const std::string& rpc, const std::string& about,
               const google::protobuf::Message& request, google::protobuf::Message& reply);

template <typename Reply, typename Request>
Reply ask(Connection& connection, const std::string& rpc, const std::string& about, const Request& request) {
   Reply reply;
   askMirror(connection, rpc, about, request, reply);
   return reply;
}

// Calls a list RPC, and `each(element)` for every element until it returns false. Without --timeout, the list
// has no deadline. A person who waits for a long table sees how many elements have come.
template <typename Reply, typename Request, typename Each>
void listMirror(Context& context, Connection& connection, const std::string& rpc, const Request& request,
                Each each) {
   Reply reply;
   Progress progress(context.err, context.interactive && !context.json);
   size_t come = 0;
   const auto next = [&] {
      progress.doneIs(++come);
      return each(reply);
   };
   connection.require(rpc,
                      connection.stream("/orv.remote." + rpc, request, reply, next, context.timeoutGiven));
}

// RETURNS: the wire form of an interface.
orv::remote::IntfId intfId(const std::string& name);

// Prints the outcome of a bulk of `sent` items as a line or as JSON. `count` items were applied; if the bulk
// failed, the item with this index failed. `name(index)` names an item.
// RETURNS: the exit code.
int reportMirrorBulk(Context& context, const orv::remote::RpcResponseStatus& status, uint64_t count,
                     uint64_t sent, const std::function<std::string(uint64_t)>& name);

}  // namespace orvctl
