// What the kill rounds send: bulks, each with one kind of object. A new bulk RPC needs a row in crashKinds().
//
// Thread-safety: one thread at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "OrvSdkRpcProtos/acl.grpc.pb.h"
#include "OrvSdkRpcProtos/agent.grpc.pb.h"
#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.grpc.pb.h"
#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "testing/process/Console.h"
#include "testing/process/Controller.h"

namespace orvtest {

// The services of one daemon, on a connection of their own.
class Rpcs {
public:
   explicit Rpcs(const std::string& address);

   // THROWS: CallBroke when the call fails.
   template <class Stub, class Request, class Response>
   Response call(grpc::Status (Stub::*method)(grpc::ClientContext*, const Request&, Response*), Stub& stub,
                 const Request& request) {
      grpc::ClientContext context;
      Response response;
      const auto status = (stub.*method)(&context, request, &response);
      if (!status.ok()) throw CallBroke(status.error_message());
      return response;
   }

private:
   const std::shared_ptr<grpc::Channel> channel_;

public:
   const std::unique_ptr<pb::orvsdk_service::Stub> programming;
   const std::unique_ptr<orv::remote::AclMgrService::Stub> acls;
   const std::unique_ptr<orv::remote::AgentService::Stub> agent;
   const std::unique_ptr<orv::remote::IntfMgrService::Stub> intfs;
   const std::unique_ptr<orv::remote::NexthopGroupMgrService::Stub> groups;
};

// Maps key to value, both as the switch shows them.
using Objects = std::map<std::string, std::string>;

// One item of a bulk: a version of the object to set, or its removal.
struct CrashItem {
   std::uint64_t index;
   std::optional<std::uint32_t> version;
   // Whether the object exists when the bulk is sent.
   bool there;
};

struct CrashKind {
   std::string name;
   // Objects have the indices below this number.
   std::uint64_t count;
   std::uint64_t itemsMax;
   // Objects below this index exist from the start and are never removed, since others refer to them.
   std::uint64_t lasting = 0;
   // Whether sets and removals need bulks of their own.
   bool apart = false;

   std::function<std::string(std::uint64_t index)> key;
   std::function<std::string(std::uint64_t index, std::uint32_t version)> value;
   // THROWS: CallBroke when the call fails; std::runtime_error when the switch refuses an item.
   std::function<void(Rpcs& rpcs, const std::vector<CrashItem>& items)> send;
   std::function<Objects(Console& console)> read;
};

// The rows that a `show` command lists under a name.
nlohmann::json listing(Console& console, const std::string& command, const char* name);

// Kinds that others refer to come first.
std::vector<CrashKind> crashKinds();
std::vector<CrashKind> programmingKinds();
std::vector<CrashKind> mirrorKinds();

}  // namespace orvtest
