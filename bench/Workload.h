// The requests of the load client. They are serialised before the clock starts, so that the client is not
// what is measured.
//
// Thread-safety: one thread at a time.
#pragma once

#include <grpcpp/support/byte_buffer.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// The endless sequence of requests of one measurement.
class Workload {
public:
   virtual ~Workload() = default;
   // "/package.service/method".
   virtual const std::string& method() const = 0;
   // Items in each request; 1 for a unary call.
   virtual std::size_t itemsPerRequest() const = 0;
   virtual grpc::ByteBuffer next() = 0;
   // RETURNS: the exact bytes of a reply in which every item was accepted.
   virtual const std::string& expectedReply() const = 0;
};

enum class Order { sequential, random };

// RETURNS: prefix number `index`, an IPv4 /32 in host order: 16.0.0.0 + index, or spread over 16.0.0.0/6
// without a repetition within 2^26 indices.
std::uint32_t routeAddress(std::uint64_t index, Order order);

std::string groupName(std::uint64_t index);

// `ip_route`: route `first`, `first` + 1, … each to one of `groups` groups.
std::unique_ptr<Workload> unaryRoutes(std::uint64_t first, std::uint64_t groups, Order order);

// `ip_route_bulk` with `perBulk` routes: routes `first` to `first` + `total` in turn, then again from the
// start. `total` is a multiple of `perBulk`.
std::unique_ptr<Workload> bulkRoutes(std::uint64_t first, std::uint64_t total, std::size_t perBulk,
                                     std::uint64_t groups, Order order);

// `nexthop_group_bulk` with `perBulk` groups of `nexthops` entries each: groups 0 to `total` in turn, then
// again with other labels, so that each bulk changes every group it names. `total` is a multiple of
// `perBulk`.
std::unique_ptr<Workload> bulkGroups(std::uint64_t total, std::size_t perBulk, std::size_t nexthops);

// `mpls_route_bulk` with `perBulk` labels from 16 on, each forwarded to one of `groups` groups; `total` is a
// multiple of `perBulk` and at most 2^20 - 16.
std::unique_ptr<Workload> bulkLabels(std::uint64_t total, std::size_t perBulk, std::uint64_t groups);

// `bulk_ip_route_set` of the mirror with `perBulk` routes, each with one via to one of `groups` groups;
// `total` is a multiple of `perBulk`.
std::unique_ptr<Workload> bulkMirrorRoutes(std::uint64_t total, std::size_t perBulk, std::uint64_t groups);

// `bulk_mpls_route_set` of the mirror with `perBulk` labels from 16 on. Each has version 1, so that it is
// acknowledged, and is forwarded to one of `groups` groups; `total` is a multiple of `perBulk` and at most
// 2^20 - 16.
std::unique_ptr<Workload> bulkMirrorLabels(std::uint64_t total, std::size_t perBulk, std::uint64_t groups);

// `cbf_nexthop_group_redirect_bulk` with `perBulk` redirects of 3 IPv4 and 3 IPv6 DSCPs, each from a group of
// its own; `total` is a multiple of `perBulk`.
std::unique_ptr<Workload> bulkRedirects(std::uint64_t total, std::size_t perBulk);

// The same redirects, `cbf_nexthop_group_redirect` each.
std::unique_ptr<Workload> singleRedirects(std::uint64_t total);

// `get_rpc_server_state` without a key: the cheapest call there is.
std::unique_ptr<Workload> emptyCalls();

}  // namespace bench
