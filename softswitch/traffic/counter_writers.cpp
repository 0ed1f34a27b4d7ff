#include "softswitch/traffic/counter_writers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <utility>

#include "orv/error.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/mount_mgr.h"

namespace softswitch {
namespace {

constexpr std::string_view currentTable = "current";
constexpr std::size_t rowsPerLook = 32;  // between two checks of the quantum

void checkWriterName(const std::string& name) {
   const bool good =
        !name.empty() && name.size() <= 64 && std::all_of(name.begin(), name.end(), [](unsigned char c) {
           return std::isalnum(c) || c == '.' || c == '-' || c == '_';
        });
   if (!good) {
      throw orv::invalid_argument_error(
           fmt::format("counter writer '{}', expected 1 to 64 letters, digits and the characters . - _",
                       orv::detail::quotable(name)));
   }
}

std::uint64_t counted(double amount) {
   return static_cast<std::uint64_t>(amount);
}

}  // namespace

CounterWriters::CounterWriters(const Context& context, MountMgr& mounts, IntfMgr& intfs,
                               TrafficModel& traffic, std::int64_t intervalNanos)
     : Pavo::TimerTask(context.scheduler, "counter writers", Gorm::priorityNormal),
       orv::intf_handler(&intfs),
       intfs_(intfs),
       traffic_(traffic),
       shared_(mounts.shared()),
       statusMount_(
            mounts.state()->mount(std::string(Interface::ethWriterStatusPath), Tessel::MountMode::write)),
       lagMount_(shared_->mount(std::string(Interface::lagCounterPath), Tessel::MountMode::write)),
       interval_(intervalNanos) {
   statusMount_.entityIs(statusDir_);
   writers_.try_emplace(std::string(fixedName));
   watch_all_intfs(true);
}

CounterWriters::~CounterWriters() = default;

void CounterWriters::residentIs(bool resident) {
   orv::sdk_lock_check();
   if (resident_ == resident) return;
   resident_ = resident;
   // Publishes at once: the caller looks up the table in its next turn.
   publishLags();
   rearranged();
}

void CounterWriters::intervalIs(std::int64_t nanos) {
   orv::sdk_lock_check();
   if (nanos < intervalMin || nanos > intervalMax) {
      throw orv::invalid_range_error("counter interval, ms,",
                                     static_cast<std::uint64_t>(std::max(nanos / 1'000'000, std::int64_t{0})),
                                     intervalMin / 1'000'000, intervalMax / 1'000'000);
   }
   interval_ = nanos;
   due_ = std::min(due_, traffic_.now() + nanos);
   if (resident_) scheduleTask();
}

void CounterWriters::writerUpIs(const std::string& name, bool up) {
   orv::sdk_lock_check();
   writer(name).up = up;
   rearranged();
}

void CounterWriters::writerIntfsAre(const std::string& name, const std::vector<orv::intf_id_t>& intfs) {
   orv::sdk_lock_check();
   if (name == fixedName) {
      throw orv::invalid_argument_error(fmt::format(
           "counter writer {} counts the ports that no other writer claims; it cannot be given a list",
           name));
   }
   for (const auto& intf : intfs) {
      if (const auto type = intfs_.facts(intf).type; !isPort(type)) {
         throw orv::invalid_argument_error(fmt::format(
              "counter writer {}: interface {} is of type {}, not a port", name, intf, to_string(type)));
      }
      for (const auto& [other, itsWriter] : writers_) {
         if (other != name &&
             std::find(itsWriter.claims.begin(), itsWriter.claims.end(), intf) != itsWriter.claims.end()) {
            throw orv::invalid_argument_error(
                 fmt::format("counter writer {}: interface {} is claimed by {}", name, intf, other));
         }
      }
   }
   auto claims = intfs;
   std::sort(claims.begin(), claims.end());
   claims.erase(std::unique(claims.begin(), claims.end()), claims.end());
   writer(name).claims = std::move(claims);
   rearranged();
}

void CounterWriters::writerDel(const std::string& name) {
   orv::sdk_lock_check();
   if (name == fixedName)
      throw orv::invalid_argument_error(fmt::format("counter writer {} cannot be removed", name));
   const auto it = writers_.find(name);
   if (it == writers_.end()) return;
   // arrange() unpublishes its table before it erases the writer.
   it->second.up = false;
   it->second.claims.clear();
   rearranged();
}

CounterWriters::Writer& CounterWriters::writer(const std::string& name) {
   const auto it = writers_.find(name);
   if (it != writers_.end()) return it->second;
   checkWriterName(name);
   if (writers_.size() >= writersMax) refuseFull("counter writer", writersMax);
   return writers_[name];
}

std::vector<CounterWriters::WriterState> CounterWriters::writers() const {
   std::vector<WriterState> states;
   for (const auto& [name, writer] : writers_) {
      states.push_back({.name = name,
                        .up = writer.up,
                        .published = writer.table != nullptr,
                        .rows = writer.table ? writer.table->size() : 0,
                        .corruptions = writer.table ? writer.table->corruptions() : 0});
   }
   return states;
}

std::optional<CounterWriters::Sample> CounterWriters::sample(Lumic::IntfId intf) const {
   orv::sdk_lock_check();
   const auto read = [&](const auto& table) -> std::optional<Sample> {
      if (!table || !table->contains(intf)) return std::nullopt;
      // The tables' copy may be damaged; this one cannot be.
      const auto it = last_.find(intf);
      return Sample{.row = it == last_.end() ? Interface::IntfCounter{} : it->second.row, .time = passTime_};
   };
   if (auto found = read(lags_)) return found;
   for (const auto& [name, writer] : writers_) {
      if (auto found = read(writer.table)) return found;
   }
   return std::nullopt;
}

void CounterWriters::damageRow(std::string_view intf) {
   orv::sdk_lock_check();
   // Only names that are in a table create ids here.
   for (const auto& item : plan_) {
      if (item.intf.name() != intf) continue;
      if (item.eth != nullptr ? item.eth->damageRow(item.intf) : lags_ && lags_->damageRow(item.intf)) return;
   }
   throw orv::invalid_argument_error(fmt::format("interface {} has no row in a counter table", intf));
}

Interface::IntfStatistics CounterWriters::statistics(const TrafficAmounts& amounts, double time) {
   constexpr double bitsPerOctet = 8;
   return {.outUcastPkts = counted(amounts.outPackets),
           .inUcastPkts = counted(amounts.inPackets),
           .outOctets = counted(amounts.outBits / bitsPerOctet),
           .inOctets = counted(amounts.inBits / bitsPerOctet),
           .sampleTime = time};
}

void CounterWriters::sampleNow() {
   orv::sdk_lock_check();
   due_ = traffic_.now();
   if (resident_) scheduleTask();
}

void CounterWriters::on_intf_create(const orv::intf_id_t&) {
   rearranged();
}

void CounterWriters::on_intf_delete(const orv::intf_id_t& intf) {
   last_.erase(Lumic::IntfId(intf.name()));
   rearranged();
}

void CounterWriters::rearranged() {
   arranged_ = false;
   scheduleTask();
}

void CounterWriters::taskExecute() {
   if (!arranged_ || internalsPlanned_ != traffic_.internalIntfs().size()) arrange();
   if (!resident_) return;
   const auto now = traffic_.now();
   if (planAt_ == plan_.size() && now >= due_) {
      planAt_ = 0;
      passNow_ = now;
      passTime_ = Zelt::Clock::seconds(Zelt::Clock::wallNanos());
      due_ = now + interval_;
   }
   while (planAt_ < plan_.size()) {
      write(plan_[planAt_++]);
      taskWorkCountInc(1);
      if (planAt_ % rowsPerLook == 0 && taskShouldYield()) {
         taskWorkPendingIs(plan_.size() - planAt_);
         scheduleTask();
         return;
      }
   }
   taskWorkPendingIs(0);
   scheduleTaskLowestDelay(std::max<std::int64_t>(due_ - traffic_.now(), 0));
}

// Publishes and withdraws tables, and assigns interfaces to writers.
void CounterWriters::arrange() {
   arranged_ = true;
   publishLags();
   for (auto it = writers_.begin(); it != writers_.end();) {
      auto& [name, writer] = *it;
      if (resident_ && writer.up) {
         publish(name, writer);
      } else {
         unpublish(name, writer);
      }
      const bool removed = !writer.up && writer.claims.empty() && name != fixedName;
      it = removed ? writers_.erase(it) : std::next(it);
   }
   plan();
}

void CounterWriters::publish(const std::string& name, Writer& writer) {
   if (writer.table) return;
   const auto path = Interface::EthIntfCounterMountHelper::path(name, currentTable);
   writer.table = Pavo::makePtr<EthTable>(path);
   writer.table->repairIs([this, table = writer.table.get()](Lumic::IntfId intf) { repair(intf, table); });
   writer.mount = shared_->mount(path, Tessel::MountMode::write);
   writer.mount.entityIs(writer.table);
   // Publish the table before the writer's status announces it.
   statusDir_->entityIs(name, Pavo::makePtr<Interface::EthIntfCounterWriterStatus>(name));
}

void CounterWriters::unpublish(const std::string& name, Writer& writer) {
   if (!writer.table) return;
   statusDir_->entityDel(name);
   writer.mount.entityIs(nullptr);
   writer.mount = Tessel::Mount();
   // A reader may keep the table for a while.
   writer.table->repairIs({});
   writer.table = nullptr;
}

void CounterWriters::publishLags() {
   if (resident_ == (lags_ != nullptr)) return;
   if (lags_) lags_->repairIs({});
   lags_ = resident_ ? Pavo::makePtr<LagTable>(std::string(Interface::lagCounterPath)) : nullptr;
   if (lags_) lags_->repairIs([this](Lumic::IntfId intf) { repair(intf, nullptr); });
   lagMount_.entityIs(lags_);
}

void CounterWriters::plan() {
   plan_.clear();
   planAt_ = 0;
   due_ = traffic_.now();
   internalsPlanned_ = traffic_.internalIntfs().size();
   if (!resident_) return;
   absl::flat_hash_map<orv::intf_id_t, EthTable*, std::hash<orv::intf_id_t>> claimed;
   for (const auto& [name, writer] : writers_) {
      for (const auto& intf : writer.claims)
         claimed.emplace(intf, writer.table.get());
   }
   auto* const fixed = writers_.at(std::string(fixedName)).table.get();
   for (auto it = intfs_.intf_iter(); it; ++it) {
      const auto type = intfs_.facts(*it).type;
      if (isPort(type)) {
         const auto claim = claimed.find(*it);
         auto* const table = claim == claimed.end() ? fixed : claim->second;
         if (table != nullptr) plan_.push_back({.intf = Lumic::IntfId(it->name()), .eth = table});
      } else if (type == IntfType::lag) {
         plan_.push_back({.intf = Lumic::IntfId(it->name()), .eth = nullptr});
      }
   }
   for (const auto& intf : traffic_.internalIntfs()) {
      const bool lag = intf.kind() == Lumic::IntfId::Kind::peerPortChannel;
      if (lag || fixed != nullptr) plan_.push_back({.intf = intf, .eth = lag ? nullptr : fixed});
   }
   // Removes the rows that are no longer in the plan for a table.
   absl::flat_hash_map<Lumic::IntfId, EthTable*, std::hash<Lumic::IntfId>> places;
   for (const auto& item : plan_)
      places.emplace(item.intf, item.eth);
   const auto sweep = [&](auto& table, EthTable* place) {
      for (const auto& intf : table.keys()) {
         const auto it = places.find(intf);
         if (it == places.end() || it->second != place) table.rowDel(intf);
      }
   };
   for (const auto& [name, writer] : writers_) {
      if (writer.table) sweep(*writer.table, writer.table.get());
   }
   if (lags_) sweep(*lags_, nullptr);
   planAt_ = plan_.size();  // a new pass begins at once
}

void CounterWriters::write(const PlanItem& item) {
   const auto row = nextRow(item.intf);
   if (item.eth != nullptr) {
      item.eth->rowIs(item.intf, row);
   } else {
      lags_->rowIs(item.intf, row);
   }
}

Interface::IntfCounter CounterWriters::nextRow(Lumic::IntfId intf) {
   TrafficModel::Account account;
   if (!traffic_.account(intf, passNow_, account)) return {};
   auto& last = last_[intf];
   if (last.began != account.began)
      last = {.began = account.began, .at = account.began, .amounts = {}, .row = {}};
   if (passNow_ <= last.at) return last.row;

   const auto perSecond = [&](double before, double now) {
      return (now - before) / Zelt::Clock::seconds(passNow_ - last.at);
   };
   Interface::IntfRates rates{.outPktsRate = perSecond(last.amounts.outPackets, account.amounts.outPackets),
                              .inPktsRate = perSecond(last.amounts.inPackets, account.amounts.inPackets),
                              .outBitsRate = perSecond(last.amounts.outBits, account.amounts.outBits),
                              .inBitsRate = perSecond(last.amounts.inBits, account.amounts.inBits)};
   // The row of an idle interface is not written again; the first idle sample still is.
   auto before = last.row.rates;
   before.sampleTime = 0;
   const bool rests = rates.isEq({}) && before.isEq({});
   if (!rests) {
      rates.sampleTime = passTime_;
      last.row = {.statistics = statistics(account.amounts, passTime_), .rates = rates};
   }
   last.at = passNow_;
   last.amounts = account.amounts;
   return last.row;
}

void CounterWriters::repair(Lumic::IntfId intf, EthTable* eth) {
   const auto it = last_.find(intf);
   const auto row = it == last_.end() ? Interface::IntfCounter{} : it->second.row;
   if (eth != nullptr) {
      eth->rowIs(intf, row);
   } else {
      lags_->rowIs(intf, row);
   }
}

}  // namespace softswitch
