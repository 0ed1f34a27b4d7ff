// Vias and keys of routes as users read and write them.
// Thread-safety: any thread.
#pragma once

#include <string>
#include <string_view>

#include "OrvSdkRpcProtos/types.pb.h"

namespace orvctl {

// RETURNS: "10.0.0.1 Ethernet1 weight 2": what the via has, without its route.
std::string viaText(const orv::remote::IpRouteVia& via);
// RETURNS: "10.0.0.1 Ethernet1 swap 200 ttl pipe".
std::string viaText(const orv::remote::MplsRouteVia& via);
// RETURNS: "10.0.0.1 Ethernet1 label 100".
std::string viaText(const orv::remote::FibFecVia& via);

// Parses a via without its route: "address=10.0.0.1,intf=Ethernet1,weight=2", with the keys in the order of
// viaText, or a JSON object. THROWS: UsageError.
orv::remote::IpRouteVia parseIpRouteVia(std::string_view what, std::string_view text);
// The same: "address=10.0.0.1,op=swap,label=200,ttl=pipe".
orv::remote::MplsRouteVia parseMplsRouteVia(std::string_view what, std::string_view text);

// RETURNS: "10.0.0.0/8".
std::string prefixText(const orv::remote::Prefix& prefix);
// THROWS: UsageError.
orv::remote::Prefix parseWirePrefix(std::string_view what, std::string_view text);

// RETURNS: "100/200", the outermost label first; "null" for the null label.
std::string labelsText(const orv::remote::MplsRouteKey& key);
// Parses 1 to 14 labels such as "100/200", the outermost first. The key has metric 0.
// THROWS: UsageError.
orv::remote::MplsRouteKey parseLabels(std::string_view what, std::string_view text);

}  // namespace orvctl
