#pragma once

// What hardware does with the packets of each policy: the actions of its classes, by policy.
// Thread-safety: the table is guarded by the activity lock, as Rillo::Table; rows are plain values.

#include <cstdint>
#include <map>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/pavo/String.h"
#include "platform/rillo/Table.h"

namespace Pbr {

// In the state database: a Zelt::Dir with one Status for each slice of the switch that has policies of its
// own.
inline constexpr std::string_view statusDirPath = "policy/pbr/status";

// The platform's number for a kind of action.
using ActionType = std::uint8_t;

struct PbrDropAction {
   static constexpr ActionType type = 5;

   bool operator==(const PbrDropAction&) const = default;
};

// Sets the TTL (the hop limit of IPv6).
struct PbrTtlAction {
   static constexpr ActionType type = 8;
   std::uint32_t ttl = 0;

   bool operator==(const PbrTtlAction&) const = default;
};

// To one of these addresses: 4 or 16 bytes each, in network byte order.
struct PbrNexthopAction {
   static constexpr ActionType type = 20;
   std::vector<Pavo::String> nexthops;

   bool operator==(const PbrNexthopAction&) const = default;
};

struct PbrNexthopGroupAction {
   static constexpr ActionType type = 21;
   Pavo::String nexthopGroupName;

   bool operator==(const PbrNexthopGroupAction&) const = default;
};

// An action of another type.
struct PbrOtherAction {
   ActionType type = 0;

   bool operator==(const PbrOtherAction&) const = default;
};

using PbrAction =
     std::variant<PbrDropAction, PbrTtlAction, PbrNexthopAction, PbrNexthopGroupAction, PbrOtherAction>;

// RETURNS: the type of the action.
ActionType actionType(const PbrAction& action);

struct ClassMapStatus {
   // The place of the class in its policy: classes are tried in the order of their numbers.
   std::uint32_t sequence = 0;
   // In the order in which they are carried out.
   std::vector<PbrAction> actions;

   bool operator==(const ClassMapStatus&) const = default;
};

struct PolicyMapStatus {
   // By the name of the class.
   std::map<Pavo::String, ClassMapStatus> classMapStatus;

   bool operator==(const PolicyMapStatus&) const = default;
};

// By the name of the policy.
class Status final : public Rillo::Table<Pavo::String, PolicyMapStatus> {
public:
   static constexpr std::string_view entityType = "Pbr::Status";
   using Table::Table;

   // RETURNS: the status of a class; null if hardware has no such policy or class. Valid until the table
   // changes.
   [[nodiscard]] const ClassMapStatus* classMapStatus(const Pavo::String& policy,
                                                      const Pavo::String& classMap) const;
};

}  // namespace Pbr
