#include "OrvSdkRpc/programming/NexthopGroupProgrammer.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include "OrvSdkRpc/programming/Convert.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/lock.h"
#include "orv/nexthop_group.h"
#include "platform/process/Toggles.h"

namespace OrvSdkRpc {
namespace {

constexpr std::uint32_t implicitNull = 3;

orv::nexthop_group_encap_t convertType(pb::nexthop_group_type_enum type) {
   assertThat(type == pb::NEXTHOP_GROUP_TYPE_MPLS, "type == NEXTHOP_GROUP_TYPE_MPLS");
   return orv::nexthop_group_encap_t::mpls;
}

orv::nexthop_group_mpls_action_t convertAction(const pb::nexthop_msg& nexthop) {
   orv::nexthop_group_mpls_action_t action;
   action.action_type_is(mplsOpToMplsAction(nexthop.mpls_operation()));
   const auto& labels = nexthop.mpls_labels();
   if (labels.size() == 1 && labels[0] == implicitNull) {
      // Implicit null requests no operation in the forwarding plane.
      action.action_type_is(orv::mpls_action_t::none);
   } else if (!labels.empty()) {
      // The message has the innermost label first.
      orv::mpls_label_stack_t inwards;
      for (const std::uint32_t label : labels)
         inwards.push_back(orv::mpls_label_t(label));
      action.label_stack_is(
           {std::make_reverse_iterator(inwards.end()), std::make_reverse_iterator(inwards.begin())});
   }
   return action;
}

orv::nexthop_group_entry_t convertEntry(const pb::nexthop_msg& nexthop) {
   orv::nexthop_group_entry_t entry;
   entry.mpls_action_is(convertAction(nexthop));
   entry.nexthop_is(ipAddressToIpAddr(nexthop.address()));
   entry.intf_is(orv::intf_id_t(nexthop.intf()));
   entry.sbfd_session_key_is(convertMsg(nexthop.sbfd_session()));
   return entry;
}

// The nexthops fill consecutive positions, each as many as its weight. Calls set(slot, entry) for the
// positions in [from, to).
template <class Nexthops, class Set>
void fillSlots(const Nexthops& nexthops, std::uint64_t from, std::uint64_t to, Set& set) {
   std::uint64_t end = 0;
   for (const pb::nexthop_msg& nexthop : nexthops) {
      orv::nexthop_group_entry_t entry = convertEntry(nexthop);
      std::uint64_t position = std::max(end, from);
      end += nexthop.weight();
      const std::uint64_t stop = std::min(end, to);
      if (position >= stop) continue;
      for (; position + 1 < stop; ++position)
         set(static_cast<std::uint16_t>(position), entry);
      set(static_cast<std::uint16_t>(position), std::move(entry));
   }
}

// Calls set(slot, entry) for each slot that the nexthops fill. The slot is 16 bits wide and wraps, and the
// last entry of a slot wins. So only the last round is written; otherwise a short message could keep the
// switch busy for hours.
template <class Nexthops, class Set>
void fillSlots(const Nexthops& nexthops, Set set) {
   constexpr std::uint64_t round = 65536;
   std::uint64_t total = 0;
   for (const pb::nexthop_msg& nexthop : nexthops)
      total += nexthop.weight();
   if (total <= round) {
      fillSlots(nexthops, 0, total, set);
      return;
   }
   const std::uint64_t slotZero = (total - 1) / round * round;
   fillSlots(nexthops, slotZero, total, set);
   fillSlots(nexthops, total - round, slotZero, set);
}

bool backupNexthopsEnabled() {
   static const bool enabled = getToggleState("NHGBackupNexthops", "NexthopGroup.json", true);
   return enabled;
}

}  // namespace

void NexthopGroupProgrammer::processNexthopGroupRequest(const pb::nexthop_group_msg& request,
                                                        pb::rpc_status_msg& response) {
   serveRequest(client_, request, response, [&](std::string& errorText) {
      orv::sdk_scoped_lock lock;
      return request.delete_() ? deleteNhg(request, errorText) : addUpdateNhg(request, errorText);
   });
}

void NexthopGroupProgrammer::processNexthopGroupBulkRequest(const pb::nexthop_group_bulk_msg& request,
                                                            pb::rpc_status_bulk_msg& response) {
   orv::fmttrace(programmingTracer(), 1, "processNexthopGroupBulkRequest NHGs");
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processNexthopGroupRequest(item, status); });
}

int NexthopGroupProgrammer::addUpdateNhg(const pb::nexthop_group_msg& request, std::string& errorText) {
   if (request.name().empty()) {
      errorText = fmt::format("Error: NHG name required, request {}", pb::toString(request));
      orv::fmttrace(programmingTracer(), 0, "{}", errorText);
      return pb::RPC_STATUS_ERROR;
   }
   if (request.nexthops().empty()) {
      errorText =
           fmt::format("Error: NHG {} has no nexthops, request {}", request.name(), pb::toString(request));
      orv::fmttrace(programmingTracer(), 0, "{}", errorText);
      return pb::RPC_STATUS_ERROR;
   }
   orv::fmttrace(programmingTracer(), 1, "Programming {}", pb::Lazy{request});
   orv::nexthop_group_t group(request.name(), convertType(request.type()));
   group.counters_unshared_is(request.counters_unshared());
   group.autosize_is(request.autosize());
   fillSlots(request.nexthops(), [&](std::uint16_t slot, orv::nexthop_group_entry_t entry) {
      group.nexthop_set(slot, std::move(entry));
   });
   if (backupNexthopsEnabled()) {
      fillSlots(request.backup_nexthops(), [&](std::uint16_t slot, orv::nexthop_group_entry_t entry) {
         group.backup_nexthop_set(slot, std::move(entry));
      });
   }
   mgr_->nexthop_group_set(group);
   return pb::RPC_STATUS_OK;
}

int NexthopGroupProgrammer::deleteNhg(const pb::nexthop_group_msg& request, std::string& errorText) {
   if (mgr_->exists(request.name())) {
      orv::fmttrace(programmingTracer(), 1, "Delete NHG {}", request.name());
      mgr_->nexthop_group_del(request.name());
      return pb::RPC_STATUS_OK;
   }
   orv::fmttrace(programmingTracer(), 1, "Delete NHG {} ignored, not found", request.name());
   errorText = fmt::format("NHG {} not found", request.name());
   return pb::RPC_STATUS_NOT_FOUND;
}

}  // namespace OrvSdkRpc
