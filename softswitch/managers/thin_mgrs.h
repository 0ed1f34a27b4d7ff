// Managers of object kinds that this switch does not have.
//
// Thread-safety: nothing to guard.
#pragma once

#include "orv/bgp.h"
#include "orv/bgp_path.h"
#include "orv/cmdapi.h"
#include "orv/eth_lag_intf.h"
#include "orv/eth_phy_intf_counter.h"
#include "orv/ip_intf.h"
#include "orv/macsec.h"

namespace softswitch {

struct ThinMgrs {
   orv::bgp_mgr bgp;
   orv::bgp_path_mgr bgpPath;
   orv::cmdapi_mgr cmdapi;
   orv::eth_lag_intf_mgr ethLagIntf;
   orv::eth_phy_intf_counter_mgr ethPhyIntfCounter;
   orv::ip_intf_mgr ipIntf;
   orv::macsec_mgr macsec;
};

}  // namespace softswitch
