#include "softswitch/tables/mpls_route_table.h"

#include <algorithm>

#include "softswitch/store/codec.h"
#include "softswitch/tables/refusal.h"
#include "softswitch/tables/value_codec.h"

namespace softswitch {

orv::mpls_route_key_t MplsRow::key() const {
   return stack != nullptr ? *stack : orv::mpls_route_key_t(orv::mpls_label_t(label), 0);
}

bool MplsRouteKind::plain(const Via& via) {
   return via.hop().af() == orv::af_none && !via.intf() && !via.pushswap_label() &&
          via.ttl_mode() == orv::mpls_ttl_mode_t::undefined &&
          via.payload_type() == orv::mpls_payload_type_t::undefined && !via.skip_egress_acl();
}

bool MplsRouteKind::sameFields(const Via& a, const Via& b) {
   return sameHop(a, b) && a.pushswap_label() == b.pushswap_label() && a.label_action() == b.label_action() &&
          a.ttl_mode() == b.ttl_mode() && a.payload_type() == b.payload_type() &&
          a.skip_egress_acl() == b.skip_egress_acl() && a.nexthop_group() == b.nexthop_group();
}

void MplsRouteKind::writeVia(store::Writer& out, const Via& via) {
   write(out, via.hop());
   write(out, via.intf());
   write(out, via.pushswap_label());
   writeEnum(out, via.label_action());
   writeEnum(out, via.ttl_mode());
   writeEnum(out, via.payload_type());
   out.boolean(via.skip_egress_acl());
   out.text(via.nexthop_group());
}

orv::mpls_route_via_t MplsRouteKind::readVia(store::Reader& in) {
   orv::mpls_route_via_t via;
   via.hop_is(readIpAddr(in));
   via.intf_is(readIntfId(in));
   via.pushswap_label_is(readMplsLabel(in));
   via.label_action_is(readEnum(in, orv::mpls_action_t::forward));
   via.ttl_mode_is(readEnum(in, orv::mpls_ttl_mode_t::pipe));
   via.payload_type_is(readEnum(in, orv::mpls_payload_type_t::autodecide));
   via.skip_egress_acl_is(in.boolean());
   via.nexthop_group_is(std::string(in.text()));
   return via;
}

MplsRouteTable::MplsRouteTable(store::Store& store, Names& groups, std::size_t capacity)
     : RouteTable(store, groups, capacity, unwritten_),
       unwritten_(
            store, [this](MplsRow& row) { writeRow(row); },
            [this](const MplsRow& row) { return fixedRowBytes + bytesOfVias(row); }) {
   store_.scan(database_, [this](std::string_view key, std::string_view row) { load(key, row); });
}

bool MplsRouteTable::isPlain(const orv::mpls_route_key_t& key) {
   return key.labels().size() == 1 && key.metric() == 0 && !!key.top_label();
}

const MplsRow* MplsRouteTable::find(const orv::mpls_route_key_t& key) const {
   if (isPlain(key)) {
      const auto label = key.top_label().label();
      const auto& page = pages_[label / pageRows];
      return page == nullptr ? nullptr : &page[label % pageRows];
   }
   const auto it = others_.find(key);
   return it == others_.end() ? nullptr : it->second.get();
}

MplsRow* MplsRouteTable::find(const orv::mpls_route_key_t& key) {
   return const_cast<MplsRow*>(std::as_const(*this).find(key));
}

const MplsRow* MplsRouteTable::findRoute(const orv::mpls_route_key_t& key) const {
   const auto* row = find(key);
   return row != nullptr && row->configured ? row : nullptr;
}

MplsRow* MplsRouteTable::findRoute(const orv::mpls_route_key_t& key) {
   return const_cast<MplsRow*>(std::as_const(*this).findRoute(key));
}

const MplsRow* MplsRouteTable::plainFrom(std::uint32_t label) const {
   while (label < labels) {
      const auto& page = pages_[label / pageRows];
      const auto end = (label / pageRows + 1) * pageRows;
      if (page != nullptr) {
         for (auto at = label; at < end; ++at) {
            if (page[at % pageRows].configured) return &page[at % pageRows];
         }
      }
      label = end;
   }
   return nullptr;
}

const MplsRow* MplsRouteTable::routeFrom(Others::const_iterator at, Others::const_iterator end) {
   const auto it = std::find_if(at, end, [](const auto& item) { return item.second->configured; });
   return it == end ? nullptr : it->second.get();
}

// Among routes with the same top label, the one with that label alone and metric 0 comes first.
const MplsRow* MplsRouteTable::earlier(const MplsRow* plain, const MplsRow* other) {
   if (plain == nullptr || other == nullptr) return plain == nullptr ? other : plain;
   return other->stack->top_label().label() < plain->label ? other : plain;
}

const MplsRow* MplsRouteTable::atOrAfter(const orv::mpls_route_key_t& key) const {
   const auto label = key.labels().empty() ? 0 : key.top_label().label();
   return earlier(plainFrom(isPlain(key) || key.labels().empty() ? label : label + 1),
                  routeFrom(others_.lower_bound(key), others_.end()));
}

template <class Such>
const MplsRow* MplsRouteTable::firstOf(const orv::mpls_route_key_t& key, Such such) const {
   const orv::mpls_route_key_t smallest(key.labels(), 0);
   if (const auto* row = isPlain(smallest) ? find(smallest) : nullptr; row != nullptr && such(*row))
      return row;
   for (auto it = others_.lower_bound(smallest);
        it != others_.end() && std::ranges::equal(it->first.labels(), key.labels()); ++it) {
      if (such(*it->second)) return it->second.get();
   }
   return nullptr;
}

const MplsRow* MplsRouteTable::inHardware(const orv::mpls_route_key_t& key) const {
   return firstOf(key, [](const MplsRow& row) { return row.fec != 0; });
}

bool MplsRouteTable::hasRoute(const orv::mpls_route_key_t& key) const {
   return firstOf(key, [](const MplsRow& row) { return row.configured; }) != nullptr;
}

const MplsRow* MplsRouteTable::Cursor::next() {
   if (ended_) return nullptr;
   const auto& others = table_->others_;
   const auto* plain = table_->plainFrom(last_ ? last_->top_label().label() + 1 : 0);
   const auto* other = routeFrom(last_ ? others.upper_bound(*last_) : others.begin(), others.end());
   const auto* row = earlier(plain, other);
   if (row == nullptr) {
      ended_ = true;
   } else {
      last_ = row->key();
   }
   return row;
}

MplsRow& MplsRouteTable::make(const orv::mpls_route_key_t& key) {
   if (isPlain(key)) {
      const auto label = key.top_label().label();
      auto& page = pages_[label / pageRows];
      if (page == nullptr) page = std::make_unique<MplsRow[]>(pageRows);
      auto& row = page[label % pageRows];
      row.label = label;
      return row;
   }
   auto& row = others_[key];
   if (row == nullptr) {
      row = std::make_unique<MplsRow>();
      row->stack = std::make_unique<const orv::mpls_route_key_t>(key);
   }
   return *row;
}

MplsRow& MplsRouteTable::insert(const orv::mpls_route_key_t& key) {
   auto& row = make(key);
   row.configured = true;
   row.mark = marks_.epoch();
   ++size_;
   changed(row);
   return row;
}

void MplsRouteTable::erase(MplsRow& row) {
   clearVias(row);
   row.version = 0;
   row.configured = false;
   --size_;
   changed(row);
}

void MplsRouteTable::release(MplsRow& row) {
   unwritten_.flush(row);
   nameIs(row.sentGroup, Names::none);
   row.hardware.reset();
   if (row.stack != nullptr) others_.erase(orv::mpls_route_key_t(*row.stack));
}

void MplsRouteTable::writeRow(MplsRow& row) noexcept {
   if (storeHasThis(row)) return;
   encodeKey(row);
   if (row.configured) {
      encodeRow(row);
      store_.putReserved(database_, keyBytes_, rowBytes_);
   } else {
      store_.delReserved(database_, keyBytes_);
   }
   noteStored(row);
}

bool MplsRouteTable::storeHasThis(const MplsRow& row) const {
   if (row.configured != row.inStore) return false;
   return !row.configured || (row.storedPlain && row.vias == nullptr && row.storedGroup == row.group &&
                              row.storedAction == row.action && row.storedVersion == row.version);
}

void MplsRouteTable::noteStored(MplsRow& row) {
   row.inStore = row.configured;
   row.storedPlain = row.configured && row.vias == nullptr;
   nameIs(row.storedGroup, row.storedPlain ? row.group : Names::none);
   row.storedAction = row.action;
   row.storedVersion = row.version;
}

void MplsRouteTable::encodeKey(const MplsRow& row) {
   keyBytes_.clear();
   store::Writer out(keyBytes_);
   write(out, row.key());
}

void MplsRouteTable::encodeRow(const MplsRow& row) {
   rowBytes_.clear();
   store::Writer out(rowBytes_);
   out.u8(MplsRouteKind::version);
   out.varint(row.version);
   if (row.vias != nullptr) {
      out.varint(row.vias->size());
      for (const auto& each : *row.vias)
         MplsRouteKind::writeVia(out, each.via);
   } else if (row.group != Names::none) {
      auto via = MplsRouteKind::kept(row);
      via.nexthop_group_is(group(row));
      out.varint(1);
      MplsRouteKind::writeVia(out, via);
   } else {
      out.varint(0);
   }
}

void MplsRouteTable::load(std::string_view keyBytes, std::string_view rowBytes) {
   store::Reader keyIn(keyBytes);
   const auto key = readMplsRouteKey(keyIn);
   keyIn.end();
   store::Reader in(rowBytes);
   checkVersion(in);
   if (key.labels().empty()) damaged("an MPLS route has no label");
   auto& row = make(key);
   row.configured = true;
   ++size_;
   row.version = in.number<std::uint16_t>();
   const auto count = in.varint();
   readVias(in, count, row);
   in.end();
   noteStored(row);
}

}  // namespace softswitch
