#include "Workload.h"

#include <cstdio>
#include <stdexcept>

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace bench {

namespace pb = OrvSdkRpc::pb;
namespace rpc = orv::remote;

namespace {

constexpr const char* service = "/OrvSdkRpc.pb.orvsdk_service/";

std::string addressBytes(std::uint32_t address) {
   return {static_cast<char>(address >> 24), static_cast<char>(address >> 16),
           static_cast<char>(address >> 8), static_cast<char>(address)};
}

void fillRoute(pb::ip_route_msg& route, std::uint32_t address, const std::string& group) {
   route.mutable_prefix()->mutable_network()->set_address(addressBytes(address));
   route.mutable_prefix()->set_prefix_length(32);
   route.set_nexthop_group_name(group);
}

grpc::ByteBuffer toBuffer(const std::string& bytes) {
   const grpc::Slice slice(bytes);
   return {&slice, 1};
}

std::string okReply(std::size_t items) {
   pb::rpc_status_bulk_msg reply;
   for (std::size_t i = 0; i < items; ++i)
      reply.add_statuses();
   return reply.SerializeAsString();
}

// The reply of a mirror service to a bulk.
template <class Response>
std::string appliedReply(std::size_t items) {
   Response reply;
   reply.mutable_status();
   reply.set_count(items);
   return reply.SerializeAsString();
}

void requireWholeBulks(std::uint64_t total, std::size_t perBulk) {
   if (perBulk == 0 || total == 0 || total % perBulk != 0) {
      throw std::invalid_argument("the number of items must be a multiple of the bulk size");
   }
}

// The first 16 labels are reserved.
constexpr std::uint32_t firstLabel = 16;

void requireLabels(std::uint64_t total) {
   if (total > (std::uint64_t{1} << 20) - firstLabel) throw std::invalid_argument("too few labels exist");
}

class Named : public Workload {
public:
   Named(const char* method, std::size_t items, std::string reply)
        : Named(service, method, items, std::move(reply)) {}
   // `ofService` is "/package.service/".
   Named(std::string ofService, const char* method, std::size_t items, std::string reply)
        : method_(std::move(ofService) + method), items_(items), reply_(std::move(reply)) {}
   const std::string& method() const override { return method_; }
   std::size_t itemsPerRequest() const override { return items_; }
   const std::string& expectedReply() const override { return reply_; }

private:
   std::string method_;
   std::size_t items_;
   std::string reply_;
};

// Serialised once per group; only the four address bytes change from call to call.
class UnaryRoutes : public Named {
public:
   UnaryRoutes(std::uint64_t first, std::uint64_t groups, Order order)
        : Named("ip_route", 1, pb::rpc_status_msg().SerializeAsString()), next_(first), order_(order) {
      constexpr std::uint32_t marker = 0xdeadbeef;
      for (std::uint64_t group = 0; group < groups; ++group) {
         pb::ip_route_msg route;
         fillRoute(route, marker, groupName(group));
         templates_.push_back(route.SerializeAsString());
         offsets_.push_back(templates_.back().find(addressBytes(marker)));
      }
   }
   grpc::ByteBuffer next() override {
      const auto group = next_ % templates_.size();
      const auto address = routeAddress(next_++, order_);
      auto& bytes = templates_[group];
      for (unsigned i = 0; i < 4; ++i)
         bytes[offsets_[group] + i] = static_cast<char>(address >> (24 - 8 * i));
      return toBuffer(bytes);
   }

private:
   std::uint64_t next_;
   Order order_;
   std::vector<std::string> templates_;
   std::vector<std::size_t> offsets_;
};

class Prebuilt : public Named {
public:
   using Named::Named;
   grpc::ByteBuffer next() override {
      const auto& buffer = buffers_[next_];
      if (++next_ == buffers_.size()) next_ = 0;
      return buffer;
   }

protected:
   void add(const google::protobuf::MessageLite& message) {
      buffers_.push_back(toBuffer(message.SerializeAsString()));
   }

private:
   std::vector<grpc::ByteBuffer> buffers_;
   std::size_t next_ = 0;
};

class BulkRoutes : public Prebuilt {
public:
   BulkRoutes(std::uint64_t first, std::uint64_t total, std::size_t perBulk, std::uint64_t groups,
              Order order)
        : Prebuilt("ip_route_bulk", perBulk, okReply(perBulk)) {
      requireWholeBulks(total, perBulk);
      for (std::uint64_t index = first; index < first + total;) {
         pb::ip_route_bulk_msg bulk;
         for (std::size_t i = 0; i < perBulk; ++i, ++index) {
            fillRoute(*bulk.add_bulk(), routeAddress(index, order), groupName(index % groups));
         }
         add(bulk);
      }
   }
};

class BulkGroups : public Prebuilt {
public:
   BulkGroups(std::uint64_t total, std::size_t perBulk, std::size_t nexthops)
        : Prebuilt("nexthop_group_bulk", perBulk, okReply(perBulk)) {
      requireWholeBulks(total, perBulk);
      for (std::uint32_t pass = 0; pass < 2; ++pass) {
         for (std::uint64_t index = 0; index < total;) {
            pb::nexthop_group_bulk_msg bulk;
            for (std::size_t i = 0; i < perBulk; ++i, ++index) {
               auto& group = *bulk.add_bulk();
               group.set_name(groupName(index));
               for (std::size_t n = 0; n < nexthops; ++n) {
                  auto& nexthop = *group.add_nexthops();
                  const auto port = static_cast<std::uint32_t>((index + n) % 64 + 1);
                  nexthop.set_intf("Ethernet" + std::to_string(port));
                  nexthop.mutable_address()->set_address(addressBytes(0x0a000002 + (port << 8)));
                  nexthop.set_mpls_operation(pb::MPLS_OPERATION_PUSH);
                  nexthop.add_mpls_labels(
                       static_cast<std::uint32_t>(100000 + pass * 400000 + index % 400000));
                  nexthop.set_weight(1);
               }
            }
            add(bulk);
         }
      }
   }
};

class BulkLabels : public Prebuilt {
public:
   BulkLabels(std::uint64_t total, std::size_t perBulk, std::uint64_t groups)
        : Prebuilt("mpls_route_bulk", perBulk, okReply(perBulk)) {
      requireWholeBulks(total, perBulk);
      requireLabels(total);
      for (std::uint64_t index = 0; index < total;) {
         pb::mpls_route_bulk_msg bulk;
         for (std::size_t i = 0; i < perBulk; ++i, ++index) {
            auto& label = *bulk.add_bulk();
            label.set_label(firstLabel + static_cast<std::uint32_t>(index));
            auto& group = *label.mutable_nexthop_group_msg();
            group.set_name(groupName(index % groups));
            group.set_mpls_operation(
                 pb::mpls_route_msg::forward_nexthop_group_msg::GROUP_MPLS_OPERATION_FORWARD);
         }
         add(bulk);
      }
   }
};

class BulkMirrorRoutes : public Prebuilt {
public:
   BulkMirrorRoutes(std::uint64_t total, std::size_t perBulk, std::uint64_t groups)
        : Prebuilt("/orv.remote.IpRouteMgrService/", "bulk_ip_route_set", perBulk,
                   appliedReply<rpc::BulkIpRouteSetResponse>(perBulk)) {
      requireWholeBulks(total, perBulk);
      for (std::uint64_t index = 0; index < total;) {
         rpc::BulkIpRouteSetRequest bulk;
         for (std::size_t i = 0; i < perBulk; ++i, ++index) {
            auto& request = *bulk.add_requests();
            auto& key = *request.mutable_ip_route()->mutable_key();
            key.mutable_prefix()->set_network(addressBytes(routeAddress(index, Order::sequential)));
            key.mutable_prefix()->set_prefix_length(32);
            auto& via = *request.add_vias();
            *via.mutable_route_key() = key;
            via.set_nexthop_group(groupName(index % groups));
         }
         add(bulk);
      }
   }
};

class BulkMirrorLabels : public Prebuilt {
public:
   BulkMirrorLabels(std::uint64_t total, std::size_t perBulk, std::uint64_t groups)
        : Prebuilt("/orv.remote.MplsRouteMgrService/", "bulk_mpls_route_set", perBulk,
                   appliedReply<rpc::BulkMplsRouteSetResponse>(perBulk)) {
      requireWholeBulks(total, perBulk);
      requireLabels(total);
      for (std::uint64_t index = 0; index < total;) {
         rpc::BulkMplsRouteSetRequest bulk;
         for (std::size_t i = 0; i < perBulk; ++i, ++index) {
            auto& request = *bulk.add_requests();
            auto& key = *request.mutable_route()->mutable_key();
            key.add_labels()->set_label(firstLabel + static_cast<std::uint32_t>(index));
            request.mutable_route()->set_version_id(1);
            auto& via = *request.add_vias();
            via.set_label_action(rpc::MPLS_ACTIONS_FORWARD);
            *via.mutable_route_key() = key;
            via.set_nexthop_group(groupName(index % groups));
         }
         add(bulk);
      }
   }
};

pb::cbf_nexthop_group_redirect_msg redirect(std::uint64_t index) {
   pb::cbf_nexthop_group_redirect_msg message;
   message.set_match_nexthop_group_name(groupName(index));
   message.set_redirect_nexthop_group_name(groupName(index) + "_voice");
   for (const std::uint32_t dscp : {34, 40, 46}) {
      message.add_match_ipv4_dscp(dscp);
      message.add_match_ipv6_dscp(dscp);
   }
   return message;
}

class BulkRedirects : public Prebuilt {
public:
   BulkRedirects(std::uint64_t total, std::size_t perBulk)
        : Prebuilt("cbf_nexthop_group_redirect_bulk", perBulk, okReply(perBulk)) {
      requireWholeBulks(total, perBulk);
      for (std::uint64_t index = 0; index < total;) {
         pb::cbf_nexthop_group_redirect_bulk_msg bulk;
         for (std::size_t i = 0; i < perBulk; ++i, ++index)
            *bulk.add_bulk() = redirect(index);
         add(bulk);
      }
   }
};

class SingleRedirects : public Prebuilt {
public:
   explicit SingleRedirects(std::uint64_t total)
        : Prebuilt("cbf_nexthop_group_redirect", 1, pb::rpc_status_msg().SerializeAsString()) {
      for (std::uint64_t index = 0; index < total; ++index)
         add(redirect(index));
   }
};

class EmptyCalls : public Prebuilt {
public:
   EmptyCalls() : Prebuilt("get_rpc_server_state", 1, std::string()) {
      add(pb::rpc_server_state_status_msg());
   }
};

}  // namespace

std::uint32_t routeAddress(std::uint64_t index, Order order) {
   constexpr std::uint64_t space = std::uint64_t{1} << 26;
   // An odd factor permutes the space.
   const auto place = order == Order::sequential ? index : index * 0x9e3779b1u;
   return static_cast<std::uint32_t>(0x10000000u + place % space);
}

std::string groupName(std::uint64_t index) {
   char name[32];
   std::snprintf(name, sizeof name, "nhg-%06llu", static_cast<unsigned long long>(index));
   return name;
}

std::unique_ptr<Workload> unaryRoutes(std::uint64_t first, std::uint64_t groups, Order order) {
   return std::make_unique<UnaryRoutes>(first, groups, order);
}

std::unique_ptr<Workload> bulkRoutes(std::uint64_t first, std::uint64_t total, std::size_t perBulk,
                                     std::uint64_t groups, Order order) {
   return std::make_unique<BulkRoutes>(first, total, perBulk, groups, order);
}

std::unique_ptr<Workload> bulkGroups(std::uint64_t total, std::size_t perBulk, std::size_t nexthops) {
   return std::make_unique<BulkGroups>(total, perBulk, nexthops);
}

std::unique_ptr<Workload> bulkLabels(std::uint64_t total, std::size_t perBulk, std::uint64_t groups) {
   return std::make_unique<BulkLabels>(total, perBulk, groups);
}

std::unique_ptr<Workload> bulkMirrorRoutes(std::uint64_t total, std::size_t perBulk, std::uint64_t groups) {
   return std::make_unique<BulkMirrorRoutes>(total, perBulk, groups);
}

std::unique_ptr<Workload> bulkMirrorLabels(std::uint64_t total, std::size_t perBulk, std::uint64_t groups) {
   return std::make_unique<BulkMirrorLabels>(total, perBulk, groups);
}

std::unique_ptr<Workload> bulkRedirects(std::uint64_t total, std::size_t perBulk) {
   return std::make_unique<BulkRedirects>(total, perBulk);
}

std::unique_ptr<Workload> singleRedirects(std::uint64_t total) {
   return std::make_unique<SingleRedirects>(total);
}

std::unique_ptr<Workload> emptyCalls() {
   return std::make_unique<EmptyCalls>();
}

}  // namespace bench
