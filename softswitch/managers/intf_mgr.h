// Interfaces: those of the topology, and those created or removed since.
//
// Administrative state and description are configuration and survive a restart, even for an interface that
// the next topology leaves out. So do interfaces that an operator created or removed (loopback, LAG, VLAN,
// VXLAN). At each start the links and the ports are as in the topology; then ports come and go with the
// hardware (EthPhyIntfMgr).
//
// An interface is up if it is enabled, its cable is plugged in and, for a port, hardware and transceiver are
// present.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value):
//    an interface that does not exist, in every operation but exists
//    a description of more than 255 bytes, not in UTF-8, or with a control character
//    a kernel name that no interface has
//    a link state for an interface without a cable (loopback, vlan, vxlan)
//    creating an interface that exists already, whose name does not imply a type, or whose kernel name
//       another one has; creating or removing a port with intfAdd() or intfDel()
//    more interfaces than the switch can have (orv::error)
//
// A handler without any state receives the whole state of a new interface: on_intf_create, then
// on_oper_status, on_admin_enabled and, if it has a description, on_intf_description. Handlers may read the
// interface that they are notified of: for one that has been removed in the meantime they receive only
// on_intf_create and on_intf_delete.
//
// Thread-safety: guarded by the SDK's lock; callbacks come from the main loop.
#pragma once

#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_map.h>

#include <functional>
#include <memory>
#include <string>

#include "orv/intf.h"
#include "softswitch/managers/context.h"
#include "softswitch/managers/topology.h"
#include "softswitch/tables/table.h"

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

// Whether an interface exists, in deviation from the topology.
struct IntfPresenceCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const orv::intf_id_t& key, store::Writer& out) { IntfCodec::encodeKey(key, out); }
   static orv::intf_id_t decodeKey(store::Reader& in) { return IntfCodec::decodeKey(in); }
   static void encodeRow(bool there, store::Writer& out) { out.boolean(there); }
   static bool decodeRow(store::Reader& in, std::uint8_t) { return in.boolean(); }
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

   // For managers whose objects name an interface.
   // THROWS: orv::invalid_argument_error if the interface does not exist.
   void require(const orv::intf_id_t& intf) const { find(intf); }

   // The fixed properties of the interface. Valid until the interface is removed.
   const TopologyIntf& facts(const orv::intf_id_t& intf) const { return find(intf).facts; }

   bool linkUp(const orv::intf_id_t& intf) const { return find(intf).linkUp; }
   void linkIs(const orv::intf_id_t& intf, bool up);
   // Called within linkIs() for each link that changes. For EthPhyIntfMgr.
   using LinkChanged = std::function<void(const orv::intf_id_t& intf)>;
   void linkChangedIs(LinkChanged linkChanged) { linkChanged_ = std::move(linkChanged); }

   // Creates or removes an interface that is not a port. Removal deletes its configuration.
   void intfAdd(const orv::intf_id_t& intf);
   void intfDel(const orv::intf_id_t& intf);

   // For EthPhyIntfMgr: adds or removes a port, whose configuration is kept; sets whether a port is usable.
   void portAdd(const orv::intf_id_t& intf);
   void portDel(const orv::intf_id_t& intf);
   void portUsableIs(const orv::intf_id_t& intf, bool usable);

   // Rows of interfaces with a non-default configuration.
   const Config& config() const { return config_; }

   std::size_t size() const { return intfs_.size(); }

private:
   struct Intf {
      TopologyIntf facts;
      bool adminEnabled = true;
      bool linkUp = true;
      bool usable = true;

      orv::oper_status_t oper() const {
         return adminEnabled && linkUp && usable ? orv::oper_status_t::up : orv::oper_status_t::down;
      }
   };
   using Presence = Table<orv::intf_id_t, bool, IntfPresenceCodec>;
   using Ids = absl::btree_set<orv::intf_id_t>;

   const Intf& find(const orv::intf_id_t& intf) const;
   Intf& find(const orv::intf_id_t& intf);
   TopologyIntf factsOfNew(const orv::intf_id_t& intf) const;
   void insert(const TopologyIntf& facts);
   void take(const orv::intf_id_t& intf);
   void setPresence(const orv::intf_id_t& intf, bool there);
   void configure(const orv::intf_id_t& intf, IntfRow row);
   template <class Call>
   void tell(const orv::intf_id_t& intf, Call call);
   void tellCreated(const orv::intf_id_t& intf);
   void tellOper(const orv::intf_id_t& intf, orv::oper_status_t status);
   void tellOperChange(const orv::intf_id_t& intf, orv::oper_status_t before, orv::oper_status_t now);
   void tellAdmin(const orv::intf_id_t& intf, bool enabled);
   void tellDescription(const orv::intf_id_t& intf, const std::string& text);

   Callbacks& callbacks_;
   const Topology& topology_;
   Config config_;
   Presence presence_;
   absl::flat_hash_map<orv::intf_id_t, std::unique_ptr<Intf>, std::hash<orv::intf_id_t>> intfs_;
   absl::flat_hash_map<std::string, orv::intf_id_t> byKernelName_;
   Ids inOrder_;
   LinkChanged linkChanged_;
};

}  // namespace softswitch
