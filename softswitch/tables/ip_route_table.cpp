#include "softswitch/tables/ip_route_table.h"

#include <bit>
#include <cstring>

#include "softswitch/store/codec.h"
#include "softswitch/tables/refusal.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {
namespace {

constexpr std::uint8_t usualPreference = 1;

enum ViaForm : std::uint8_t { viasNone = 0, viasGroup = 1, viasList = 2 };
constexpr std::uint8_t ribBypassBit = 0x80;

std::uint64_t readBig(const std::uint8_t* p) {
   std::uint64_t v;
   std::memcpy(&v, p, sizeof v);
   return std::endian::native == std::endian::little ? __builtin_bswap64(v) : v;
}

void writeBig(std::uint8_t* p, std::uint64_t v) {
   if constexpr (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
   std::memcpy(p, &v, sizeof v);
}

}  // namespace

RouteKey::RouteKey(NameId vrf, const orv::ip_prefix_t& prefix, std::uint8_t routePreference)
     : high(readBig(prefix.network().addr())),
       low(readBig(prefix.network().addr() + 8)),
       vrfAndFamily(vrf << 8 | prefix.af()),
       length(prefix.prefix_length()),
       preference(routePreference) {}

orv::ip_prefix_t RouteKey::prefix() const {
   std::uint8_t bytes[16];
   writeBig(bytes, high);
   writeBig(bytes + 8, low);
   return {orv::ip_addr_t(static_cast<std::uint8_t>(vrfAndFamily), bytes), length};
}

bool IpRouteKind::plain(const Via& via) {
   return via.hop().af() == orv::af_none && !via.intf() && !via.mpls_label() && via.vni() == 0 &&
          via.vtep_addr().af() == orv::af_none && !via.router_mac() && via.egress_vrf().empty() &&
          via.metric() == 0 && !via.vxlan_intf() && !via.vtep_sip_validation() && via.weight() == 0;
}

bool IpRouteKind::sameHop(const Via& a, const Via& b) {
   return a.hop() == b.hop() && a.intf() == b.intf() && a.vtep_addr() == b.vtep_addr() &&
          a.vni() == b.vni() && a.vxlan_intf() == b.vxlan_intf();
}

bool IpRouteKind::sameFields(const Via& a, const Via& b) {
   return sameHop(a, b) && a.nexthop_group() == b.nexthop_group() && a.mpls_label() == b.mpls_label() &&
          a.router_mac() == b.router_mac() && a.egress_vrf() == b.egress_vrf() && a.metric() == b.metric() &&
          a.vtep_sip_validation() == b.vtep_sip_validation() && a.weight() == b.weight();
}

void IpRouteKind::writeVia(store::Writer& out, const Via& via) {
   write(out, via.hop());
   write(out, via.intf());
   out.text(via.nexthop_group());
   write(out, via.mpls_label());
   out.varint(via.vni());
   write(out, via.vtep_addr());
   write(out, via.router_mac());
   out.text(via.egress_vrf());
   out.varint(via.metric());
   write(out, via.vxlan_intf());
   out.boolean(via.vtep_sip_validation());
   out.varint(via.weight());
}

orv::ip_route_via_t IpRouteKind::readVia(store::Reader& in) {
   orv::ip_route_via_t via;
   via.hop_is(readIpAddr(in));
   via.intf_is(readIntfId(in));
   via.nexthop_group_is(std::string(in.text()));
   via.mpls_label_is(readMplsLabel(in));
   via.vni_is(in.number<std::uint32_t>());
   via.vtep_addr_is(readIpAddr(in));
   via.router_mac_is(readEthAddr(in));
   via.egress_vrf_is(std::string(in.text()));
   via.metric_is(in.number<std::uint32_t>());
   via.vxlan_intf_is(readIntfId(in));
   via.vtep_sip_validation_is(in.boolean());
   via.weight_is(in.number<std::uint32_t>());
   return via;
}

IpRouteTable::IpRouteTable(store::Store& store, Names& groups, Names& vrfs, std::size_t capacity)
     : RouteTable(store, groups, capacity, unwritten_),
       vrfs_(vrfs),
       unwritten_(
            store, [this](RouteRow& row) { writeRow(row); },
            [this](const RouteRow& row) {
               return fixedRowBytes + commandTag(row).size() + bytesOfVias(row);
            }) {
   store_.scan(database_, [this](std::string_view key, std::string_view row) { load(key, row); });
}

RouteRow* IpRouteTable::find(const RouteKey& key) {
   if (recent_ != nullptr && recent_->key == key) return recent_;
   const auto it = tree_.find(key);
   if (it == tree_.end()) return nullptr;
   return recent_ = &at(it->second);
}

const RouteRow* IpRouteTable::find(const RouteKey& key) const {
   if (recent_ != nullptr && recent_->key == key) return recent_;
   const auto it = tree_.find(key);
   return it == tree_.end() ? nullptr : &at(it->second);
}

const RouteRow* IpRouteTable::atOrAfter(const RouteKey& key) const {
   const auto it = tree_.lower_bound(key);
   return it == tree_.end() ? nullptr : &at(it->second);
}

RouteIndex IpRouteTable::newIndex() {
   if (!unused_.empty()) {
      const auto index = unused_.back();
      unused_.pop_back();
      return index;
   }
   if (nextIndex_ % slabRows == 0) slabs_.push_back(std::make_unique<RouteRow[]>(slabRows));
   return nextIndex_++;
}

RouteRow& IpRouteTable::insert(const RouteKey& key) {
   const auto index = newIndex();
   auto& row = at(index);
   row.key = key;
   row.index = index;
   row.mark = marks_.epoch();
   if (key.preference != usualPreference) ++rowsOfOtherPreference_;
   // Routes often arrive in ascending order; the end is then the right place.
   tree_.emplace_hint(tree_.end(), key, index);
   ++generation_;
   return *(recent_ = &row);
}

void IpRouteTable::writeRow(RouteRow& row) noexcept {
   encodeKey(row.key);
   encodeRow(row);
   store_.putReserved(database_, keyBytes_, rowBytes_);
   row.inStore = true;
}

void IpRouteTable::erase(RouteRow& row) {
   if (row.inStore) {
      encodeKey(row.key);
      try {
         store_.del(database_, keyBytes_);
      } catch (const store::StoreError& e) {
         refuse(e);
      }
   }
   unwritten_.forget(row);
   if (recent_ == &row) recent_ = nullptr;
   tree_.erase(row.key);
   ++generation_;
   if (row.key.preference != usualPreference) --rowsOfOtherPreference_;
   clearVias(row);
   setCommandTag(row, {});
   row.dead = true;
   if (!row.queued && !row.sent) release(row);
}

void IpRouteTable::release(RouteRow& row) {
   const auto index = row.index;
   row = RouteRow{};
   unused_.push_back(index);
}

void IpRouteTable::setCommandTag(RouteRow& row, std::string_view tag) {
   const auto id = tags_.hold(tag);
   tags_.drop(row.commandTag);
   row.commandTag = id;
}

void IpRouteTable::encodeKey(const RouteKey& key) {
   keyBytes_.clear();
   store::Writer out(keyBytes_);
   out.text(vrfs_.text(key.vrf()));
   out.u8(static_cast<std::uint8_t>(key.vrfAndFamily));
   if (static_cast<std::uint8_t>(key.vrfAndFamily) == orv::af_ipv6) {
      out.u64(key.high);
      out.u64(key.low);
   } else {
      out.u32(static_cast<std::uint32_t>(key.high >> 32));
   }
   out.u8(key.length);
   out.u8(key.preference);
}

void IpRouteTable::encodeRow(const RouteRow& row) {
   rowBytes_.clear();
   store::Writer out(rowBytes_);
   out.u8(IpRouteKind::version);
   const auto form = row.vias ? viasList : row.group != Names::none ? viasGroup : viasNone;
   out.u8(static_cast<std::uint8_t>(static_cast<std::uint8_t>(row.action) << 4 | form |
                                    (row.ribBypass ? ribBypassBit : 0)));
   out.varint(row.tag);
   out.text(tags_.text(row.commandTag));
   if (form == viasGroup) {
      out.text(groups_.text(row.group));
   } else if (form == viasList) {
      out.varint(row.vias->size());
      for (const auto& each : *row.vias)
         IpRouteKind::writeVia(out, each.via);
   }
}

void IpRouteTable::load(std::string_view keyBytes, std::string_view rowBytes) {
   store::Reader keyIn(keyBytes);
   const auto vrfName = keyIn.text();
   // Never dropped: VRF names are few.
   auto vrf = vrfs_.find(vrfName);
   if (vrf == Names::none) vrf = vrfs_.hold(vrfName);
   const auto family = keyIn.u8();
   if (family != orv::af_ipv4 && family != orv::af_ipv6) damaged("a route has an unknown family");
   const auto address = keyIn.raw(family == orv::af_ipv6 ? 16 : 4);
   const auto length = keyIn.u8();
   const auto preference = keyIn.u8();
   keyIn.end();
   const auto prefix =
        decoded([&] { return orv::ip_prefix_t(orv::ip_addr_t(family, address.data()), length); });

   store::Reader in(rowBytes);
   checkVersion(in);
   auto& row = insert(RouteKey(vrf, prefix, preference));
   row.inStore = true;
   const auto bits = in.u8();
   row.ribBypass = (bits & ribBypassBit) != 0;
   if ((bits >> 4 & 7) > static_cast<int>(orv::ip_route_action_t::nexthop_group))
      damaged("a route has an unknown action");
   row.action = static_cast<orv::ip_route_action_t>(bits >> 4 & 7);
   row.tag = in.number<std::uint32_t>();
   row.commandTag = tags_.hold(in.text());
   switch (bits & 0xf) {
      case viasNone:
         break;
      case viasGroup:
         row.group = groups_.hold(in.text());
         break;
      case viasList: {
         const auto count = in.varint();
         if (count == 0) damaged("a route has an empty list of vias");
         readVias(in, count, row);
         break;
      }
      default:
         damaged("a route has vias of an unknown form");
   }
   in.end();
}

IpRouteTable::Cursor::Cursor(const IpRouteTable& table, NameId vrf) : table_(&table) {
   last_.vrfAndFamily = vrf << 8;
}

const RouteRow* IpRouteTable::Cursor::next() {
   if (ended_) return nullptr;
   const auto& tree = table_->tree_;
   if (!started_) {
      at_ = tree.lower_bound(last_);
      started_ = true;
   } else if (generation_ == table_->generation_) {
      ++at_;
   } else {
      at_ = tree.upper_bound(last_);
   }
   if (at_ == tree.end() || at_->first.vrf() != last_.vrf()) {
      ended_ = true;
      return nullptr;
   }
   last_ = at_->first;
   generation_ = table_->generation_;
   // Whoever lists a route often asks for its vias next.
   return table_->recent_ = &table_->slabs_[at_->second / slabRows][at_->second % slabRows];
}

}  // namespace softswitch
