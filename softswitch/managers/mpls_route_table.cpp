#include "softswitch/managers/mpls_route_table.h"

#include <algorithm>

#include "softswitch/refusal.h"
#include "softswitch/store/codec.h"
#include "softswitch/value_codec.h"

namespace softswitch {
namespace {

constexpr std::uint8_t rowVersion = 1;
constexpr std::size_t fixedRowBytes = 32;

void writeVia(store::Writer& out, const orv::mpls_route_via_t& via) {
   write(out, via.hop());
   write(out, via.intf());
   write(out, via.pushswap_label());
   writeEnum(out, via.label_action());
   writeEnum(out, via.ttl_mode());
   writeEnum(out, via.payload_type());
   out.boolean(via.skip_egress_acl());
   out.text(via.nexthop_group());
}

orv::mpls_route_via_t readVia(store::Reader& in) {
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

}  // namespace

orv::mpls_route_key_t MplsRow::key() const {
   return stack != nullptr ? *stack : orv::mpls_route_key_t(orv::mpls_label_t(label), 0);
}

MplsRouteTable::MplsRouteTable(store::Store& store, Names& groups, std::size_t capacity)
     : store_(store), groups_(groups), capacity_(capacity), database_(store.open("mpls_route")) {
   store_.scan(database_, [this](std::string_view key, std::string_view row) { load(key, row); });
   flushRegistration_ = store_.beforeCommit([this] {
      if (unwritten_ != nullptr) flush();
   });
}

MplsRouteTable::~MplsRouteTable() {
   store_.commit();
   store_.forgetBeforeCommit(flushRegistration_);
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

// Of a label's routes the one of that label and metric 0 comes first.
const MplsRow* MplsRouteTable::earlier(const MplsRow* plain, const MplsRow* other) {
   if (plain == nullptr || other == nullptr) return plain == nullptr ? other : plain;
   return other->stack->top_label().label() < plain->label ? other : plain;
}

const MplsRow* MplsRouteTable::atOrAfter(const orv::mpls_route_key_t& key) const {
   const auto label = key.labels().empty() ? 0 : key.top_label().label();
   return earlier(plainFrom(isPlain(key) || key.labels().empty() ? label : label + 1),
                  routeFrom(others_.lower_bound(key), others_.end()));
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

void MplsRouteTable::prepare(std::size_t bytes, bool shrinks) {
   try {
      store_.reserve(fixedRowBytes + bytes, shrinks);
   } catch (const store::StoreError& e) {
      refuse(e);
   }
}

void MplsRouteTable::checkCapacity() const {
   if (size_ >= capacity_) refuseFull("mpls_route", capacity_);
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
   row.mark = epoch_;
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

void MplsRouteTable::changed(MplsRow& row) {
   if (unwritten_ == &row) return;
   if (unwritten_ != nullptr) flush();
   unwritten_ = &row;
}

void MplsRouteTable::release(MplsRow& row) {
   if (unwritten_ == &row) flush();
   nameIs(row.sentGroup, Names::none);
   row.hardware.reset();
   if (row.stack != nullptr) others_.erase(orv::mpls_route_key_t(*row.stack));
}

void MplsRouteTable::flush() noexcept {
   auto& row = *unwritten_;
   unwritten_ = nullptr;
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

bool MplsRouteTable::plainGroup(const orv::mpls_route_via_t& via) {
   return via.hop().af() == orv::af_none && !via.intf() && !via.pushswap_label() &&
          via.ttl_mode() == orv::mpls_ttl_mode_t::undefined &&
          via.payload_type() == orv::mpls_payload_type_t::undefined && !via.skip_egress_acl();
}

void MplsRouteTable::setGroup(MplsRow& row, const orv::mpls_route_via_t& via) {
   const auto id = groups_.hold(via.nexthop_group());
   clearVias(row);
   row.group = id;
   row.action = via.label_action();
   row.viaMark = epoch_;
   if (plainGroup(via)) return;
   row.vias = std::make_unique<MplsVias>();
   row.vias->push_back({via, epoch_});
   row.vias->front().via.route_key_is({});
}

void MplsRouteTable::clearVias(MplsRow& row) {
   nameIs(row.group, Names::none);
   row.action = {};
   row.vias.reset();
}

std::vector<orv::mpls_route_via_t> MplsRouteTable::viasOf(const MplsRow& row) const {
   std::vector<orv::mpls_route_via_t> vias;
   const auto key = row.key();
   if (row.vias != nullptr) {
      for (const auto& each : *row.vias) {
         vias.push_back(each.via);
         vias.back().route_key_is(key);
      }
   } else if (row.group != Names::none) {
      vias.emplace_back(key, row.action).nexthop_group_is(groups_.text(row.group));
   }
   return vias;
}

void MplsRouteTable::resyncInit() {
   ++epoch_;
   resyncing_ = true;
}

void MplsRouteTable::encodeKey(const MplsRow& row) {
   keyBytes_.clear();
   store::Writer out(keyBytes_);
   write(out, row.key());
}

void MplsRouteTable::encodeRow(const MplsRow& row) {
   rowBytes_.clear();
   store::Writer out(rowBytes_);
   out.u8(rowVersion);
   out.varint(row.version);
   if (row.vias != nullptr) {
      out.varint(row.vias->size());
      for (const auto& each : *row.vias)
         writeVia(out, each.via);
   } else if (row.group != Names::none) {
      orv::mpls_route_via_t via;
      via.label_action_is(row.action);
      via.nexthop_group_is(groups_.text(row.group));
      out.varint(1);
      writeVia(out, via);
   } else {
      out.varint(0);
   }
}

void MplsRouteTable::load(std::string_view keyBytes, std::string_view rowBytes) {
   const auto damaged = [](const char* what) { throw store::StoreError(store::Trouble::damaged, what); };
   store::Reader keyIn(keyBytes);
   const auto key = readMplsRouteKey(keyIn);
   keyIn.end();
   store::Reader in(rowBytes);
   const auto version = in.u8();
   if (version == 0 || version > rowVersion) {
      throw store::StoreError(
           store::Trouble::newerFormat,
           fmt::format("{}: table 'mpls_route' has a row of version {}, this release reads up to {}",
                       store_.path().string(), version, rowVersion));
   }
   if (key.labels().empty()) damaged("an MPLS route has no label");
   auto& row = make(key);
   row.configured = true;
   ++size_;
   row.version = in.number<std::uint16_t>();
   for (auto count = in.varint(); count != 0; --count) {
      auto via = readVia(in);
      if (!via.nexthop_group().empty()) {
         if (count != 1 || row.hasVias()) damaged("an MPLS route has more than a nexthop group");
         setGroup(row, via);
         break;
      }
      if (row.vias == nullptr) row.vias = std::make_unique<MplsVias>();
      row.vias->push_back({std::move(via), epoch_});
   }
   in.end();
   noteStored(row);
}

}  // namespace softswitch
