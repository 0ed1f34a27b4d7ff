// Counter writers: they sample the traffic of their interfaces and publish counters and rates in mounted
// tables (interface/EthIntfCounter.h).
//
// A writer stands for a line card or chip: it is up, with a row for each of its interfaces, or down. The
// writer "Fixed" has the ports that no other writer claims. LAGs have a table of their own.
//
// Tables and writers are published only while counters are resident. The main loop then samples every
// interface once per interval, in pieces within its quantum. A rate is the traffic since the last sample, per
// second. An interface that has never carried traffic has a row of zeros.
//
// Refusals (orv::invalid_argument_error, naming the value):
// - a writer's name that is not 1 to 64 letters, digits and the characters . - _
// - a claimed interface that does not exist, is not a port or is claimed by another writer
// - removing Fixed, or giving it interfaces
// - more than 256 writers (orv::error)
// - an interval outside 1 ms to 1 hour (orv::invalid_range_error)
//
// Thread-safety: guarded by the SDK's lock. The writers and their tables change on the main loop only.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orv/intf.h"
#include "platform/gorm/PavoTask.h"
#include "platform/state/EthIntfCounter.h"
#include "platform/zelt/Dir.h"
#include "softswitch/managers/context.h"
#include "softswitch/traffic/traffic_model.h"

namespace softswitch {

class IntfMgr;
class MountMgr;

class CounterWriters final : public Pavo::TimerTask, private orv::intf_handler {
public:
   static constexpr std::string_view fixedName = "Fixed";
   static constexpr std::size_t writersMax = 256;
   static constexpr std::int64_t intervalMin = 1'000'000;
   static constexpr std::int64_t intervalMax = 3'600'000'000'000;

   CounterWriters(const Context& context, MountMgr& mounts, IntfMgr& intfs, TrafficModel& traffic,
                  std::int64_t intervalNanos);
   ~CounterWriters() override;

   // Whether the tables are published.
   void residentIs(bool resident);
   bool resident() const { return resident_; }
   void intervalIs(std::int64_t nanos);
   std::int64_t interval() const { return interval_; }

   // Takes a writer up or down; while it is down, its interfaces are not counted. Creates an unknown writer.
   void writerUpIs(const std::string& name, bool up);
   // Sets the interfaces that the writer counts instead of Fixed, replacing its former claims. Creates an
   // unknown writer.
   void writerIntfsAre(const std::string& name, const std::vector<orv::intf_id_t>& intfs);
   // Returns the writer's interfaces to Fixed. A no-op for an unknown writer.
   void writerDel(const std::string& name);

   struct WriterState {
      std::string name;
      bool up;
      bool published;
      std::size_t rows;
      std::uint64_t corruptions;
   };
   // Ordered by name.
   std::vector<WriterState> writers() const;

   // `row` is the last one written. `time` is when its writer last sampled, in seconds since the epoch.
   struct Sample {
      Interface::IntfCounter row;
      double time = 0;
   };
   // RETURNS: empty for an interface without a row.
   std::optional<Sample> sample(Lumic::IntfId intf) const;

   // Damages an interface's row in its table.
   // THROWS: orv::invalid_argument_error for an interface without a row.
   void damageRow(std::string_view intf);

   // Converts traffic amounts to counters.
   static Interface::IntfStatistics statistics(const TrafficAmounts& amounts, double time);

   // Takes the next sample as soon as the main loop gets to it.
   void sampleNow();

protected:
   void taskExecute() override;

private:
   using EthTable = Interface::AllEthIntfCounterRillo;
   using LagTable = Rillo::Interface::AllIntfCounterDir;

   struct Writer {
      bool up = true;
      std::vector<orv::intf_id_t> claims;
      // Null while the writer is not published.
      Tessel::Mount mount;
      Pavo::Ptr<EthTable> table;
   };
   // The previous sample of an interface, which the next one is compared with.
   struct Last {
      std::int64_t began = 0;  // of the account that the sample belongs to
      std::int64_t at = 0;
      TrafficAmounts amounts;
      Interface::IntfCounter row;
   };
   struct PlanItem {
      Lumic::IntfId intf;
      EthTable* eth;  // null for a LAG
   };

   void on_intf_create(const orv::intf_id_t& intf) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;

   Writer& writer(const std::string& name);
   void arrange();
   void publish(const std::string& name, Writer& writer);
   void unpublish(const std::string& name, Writer& writer);
   void publishLags();
   void rearranged();
   void plan();
   void write(const PlanItem& item);
   Interface::IntfCounter nextRow(Lumic::IntfId intf);
   void repair(Lumic::IntfId intf, EthTable* eth);

   IntfMgr& intfs_;
   TrafficModel& traffic_;
   const Pavo::Ptr<ZeltSharedMem::EntityManager> shared_;
   const Pavo::Ptr<Zelt::Dir> statusDir_ = Pavo::makePtr<Zelt::Dir>();
   Tessel::Mount statusMount_;
   Tessel::Mount lagMount_;
   Pavo::Ptr<LagTable> lags_;  // null while the tables are not published
   std::map<std::string, Writer> writers_;
   absl::flat_hash_map<Lumic::IntfId, Last, std::hash<Lumic::IntfId>> last_;
   std::int64_t interval_;
   bool resident_ = false;
   bool arranged_ = true;  // tables and plan match the settings

   // One pass over all interfaces.
   std::vector<PlanItem> plan_;
   std::size_t planAt_ = 0;
   std::size_t internalsPlanned_ = 0;
   std::int64_t due_ = 0;      // of the next pass
   std::int64_t passNow_ = 0;  // time of the current pass
   double passTime_ = 0;       // the same, seconds since the epoch
};

}  // namespace softswitch
