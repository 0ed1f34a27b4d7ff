// The mirror services that a host can enable.
//
// Thread-safety: plain values.
#pragma once

#include <cstdint>

namespace OrvSdkRpc::Server {

// One value per mirrored SDK manager. The programming service and the FIB service have no value: only the
// address form of Agent creates them.
enum class Services : std::uint8_t {
   Acl = 0,
   Agent = 1,
   BgpPath = 2,
   Bgp = 3,
   ClassMap = 4,
   Cmdapi = 5,
   EthLagIntf = 6,
   EthPhyIntf = 7,
   EthPhyIntfCounters = 8,
   Intf = 9,
   IntfCounter = 10,
   IpRoute = 11,
   IpIntf = 12,
   Macsec = 13,
   MplsRoute = 14,
   MplsVrfLabel = 15,
   NexthopGroup = 16,
   PolicyMap = 17,
   PolicyMapCounters = 18,
};

inline constexpr std::uint8_t servicesCount = 19;

}  // namespace OrvSdkRpc::Server
