// MACsec profiles, and the state and counters of secured interfaces.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/macsec_types.h"

namespace OrvSdkRpc::types {

// bypass_lldp and intfs are converted to the wire only.
// THROWS: orv::invalid_argument_error for a key server priority above 255, before any other field is checked.
orv::macsec_profile_t convert(const orv::remote::MacsecProfile& message);
orv::remote::MacsecProfile convert(const orv::macsec_profile_t& profile);

orv::macsec_key_t convert(const orv::remote::MacsecKey& message);
orv::remote::MacsecKey convert(const orv::macsec_key_t& key);

orv::remote::MacsecIntfStatus convert(const orv::macsec_intf_status_t& status);

orv::remote::MacsecIntfCounters convert(const orv::macsec_intf_counters_t& counters);

}  // namespace OrvSdkRpc::types
