// The interfaces of the topology, with their administrative state, link and description.
//
// The set of interfaces is the topology's and does not change while the switch runs. Administrative state and
// description are configuration and survive a restart, also for an interface that the next topology leaves
// out; the link is where the topology puts it at each start.
//
// Refusals (orv::invalid_argument_error, naming the value):
//    an interface that is not in the topology, in every operation but exists
//    a description of more than 255 bytes, or with a control character
//    a kernel name that no interface has
//    a link state for an interface without a cable (loopback, vlan, vxlan)
//
// Thread-safety: guarded by the SDK's lock; callbacks come from the main loop.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <string>
#include <vector>

#include "orv/intf.h"
#include "softswitch/context.h"
#include "softswitch/table.h"
#include "softswitch/topology.h"

namespace softswitch {

struct IntfRow {
   bool adminEnabled = true;
   std::string description;

   bool operator==(const IntfRow&) const = default;
};

struct IntfCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::intf_id_t& key, store::Writer& out);
   static orv::intf_id_t decodeKey(store::Reader& in);
   static void encodeRow(const IntfRow& row, store::Writer& out);
   static IntfRow decodeRow(store::Reader& in, std::uint8_t version);
};

class IntfMgr final : public orv::intf_mgr {
public:
   using Config = Table<orv::intf_id_t, IntfRow, IntfCodec>;
   static constexpr std::size_t maxDescriptionBytes = 255;

   IntfMgr(const Context& context, const Topology& topology);

   orv::intf_iter_t intf_iter() const override;
   bool exists(const orv::intf_id_t& intf) const override;
   bool admin_enabled(const orv::intf_id_t& intf) const override;
   void admin_enabled_is(const orv::intf_id_t& intf, bool enabled) override;
   std::string description(const orv::intf_id_t& intf) const override;
   void description_is(const orv::intf_id_t& intf, const std::string& description) override;
   orv::oper_status_t oper_status(const orv::intf_id_t& intf) const override;
   orv::intf_id_t orv_intf_name(const std::string& kernel_name) const override;
   std::string kernel_intf_name(const orv::intf_id_t& intf) const override;

   // Refuses an interface that the switch does not have: for managers whose objects name one.
   void require(const orv::intf_id_t& intf) const { find(intf); }

   // What the topology says about it.
   const TopologyIntf& facts(const orv::intf_id_t& intf) const { return *find(intf).facts; }

   bool linkUp(const orv::intf_id_t& intf) const { return find(intf).linkUp; }
   void linkIs(const orv::intf_id_t& intf, bool up);

   // Rows of interfaces whose configuration is not the default one.
   const Config& config() const { return config_; }

   std::size_t size() const { return intfs_.size(); }

private:
   struct Intf {
      const TopologyIntf* facts;
      bool adminEnabled = true;
      bool linkUp = true;

      orv::oper_status_t oper() const {
         return adminEnabled && linkUp ? orv::oper_status_t::up : orv::oper_status_t::down;
      }
   };

   const Intf& find(const orv::intf_id_t& intf) const;
   Intf& find(const orv::intf_id_t& intf);
   void configure(const orv::intf_id_t& intf, IntfRow row);
   void tellOperChange(const orv::intf_id_t& intf, orv::oper_status_t before, orv::oper_status_t now);

   Callbacks& callbacks_;
   const Topology& topology_;
   Config config_;
   absl::flat_hash_map<orv::intf_id_t, Intf, std::hash<orv::intf_id_t>> intfs_;
   std::vector<orv::intf_id_t> inOrder_;
};

}  // namespace softswitch
