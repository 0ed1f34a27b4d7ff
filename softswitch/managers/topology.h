// The interfaces of the switch, from a small JSON file or a built-in default.
//
// Thread-safety: a Topology does not change after it is built; any thread may read it.
//
// The file:
//
//    { "system_mac": "02:00:00:00:00:00",
//      "interfaces": [
//         { "name": "Ethernet1", "count": 64, "speed": "100G" },
//         { "name": "Loopback0", "count": 16 },
//         { "name": "Management1", "speed": "1G", "kernel_name": "mgmt1", "link": "down" } ] }
//
// "interfaces" is required, and so is "name" in each entry; everything else has a default:
//    "count"        1..16384 interfaces, whose numbers count up from the number that ends the name; 1
//    "type"         ethernet, loopback, management, lag, vlan, vxlan; from the name's leading word
//                   (Ethernet, Loopback, Management, Lag, Vlan, Vxlan)
//    "speed"        10M 100M 1G 2.5G 5G 10G 25G 40G 50G 100G 200G 400G 800G 1.6T; ethernet 100G,
//                   management 1G, the others have none
//    "mac"          six hex bytes; counts up with the name; default system_mac plus the
//                   interface's ordinal in the file, from 1
//    "kernel_name"  1..15 characters; counts up with the name; default eth1, lo0, mgmt1, …
//    "link"         "up" or "down", the link's state when the switch starts; up
//    "system_mac"   02:00:00:00:00:00
// Names, kernel names and addresses must be unique. An unknown or repeated key is refused.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace softswitch {

// A topology file that cannot be used. what() is one line with the file, the value and what was expected.
class TopologyError : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

enum class IntfType { ethernet, loopback, management, lag, vlan, vxlan };

std::string_view to_string(IntfType type);

// Whether the type is a physical port of the switch.
inline bool isPort(IntfType type) {
   return type == IntfType::ethernet || type == IntfType::management;
}

using MacAddress = std::array<std::uint8_t, 6>;

// Lower-case hex bytes separated by colons.
std::string to_string(const MacAddress& mac);

struct TopologyIntf {
   std::string name;
   IntfType type = IntfType::ethernet;
   std::uint64_t speedBps = 0;  // bits per second, 0 if the type has none
   MacAddress mac{};
   std::string kernelName;
   bool linkUp = true;  // when the switch starts
};

// "100G", "2.5G", "10M"; "" for 0.
std::string speedName(std::uint64_t speedBps);

class Topology {
public:
   static constexpr std::size_t maxInterfaces = 16384;

   // Ethernet1..Ethernet64 at 100G, Loopback0..Loopback15, Management1.
   static Topology builtIn();

   // THROWS: TopologyError if the file cannot be read or used.
   static Topology load(const std::filesystem::path& file);

   // Like load(), from `text`; `source` names it in errors.
   static Topology parse(std::string_view text, std::string_view source);

   // In the order of the file.
   const std::vector<TopologyIntf>& interfaces() const { return interfaces_; }

   // RETURNS: null if no interface has that name.
   const TopologyIntf* find(std::string_view name) const;

   // RETURNS: the properties of an interface that is created under this name, from its leading word and
   // number; empty if the name implies no type or the kernel name would be too long. The topology may contain
   // `name`.
   std::optional<TopologyIntf> fromName(std::string_view name) const;

   const MacAddress& systemMac() const { return systemMac_; }

private:
   Topology(const MacAddress& systemMac, std::vector<TopologyIntf> interfaces);

   MacAddress systemMac_;
   std::vector<TopologyIntf> interfaces_;
   std::unordered_map<std::string, std::size_t> byName_;
};

}  // namespace softswitch
