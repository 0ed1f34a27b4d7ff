#pragma once

// The counter tables: one per counter writer (a process or line card that counts the traffic of some Ethernet
// interfaces), and one for all LAGs.
// Thread-safety: guarded by the activity lock, as Rillo::Table.

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "platform/rillo/Table.h"
#include "platform/state/IntfCounter.h"
#include "platform/state/IntfId.h"
#include "platform/tessel/SharedMem.h"

namespace Interface {

// In the state database: a Zelt::Dir with one EthIntfCounterWriterStatus per existing writer.
inline constexpr std::string_view ethWriterStatusPath = "interface/ethIntfCounter/writerStatus";
// In shared memory: a Rillo::Interface::AllIntfCounterDir.
inline constexpr std::string_view lagCounterPath = "interface/counter/lag/current";

// The counters of one writer's interfaces.
class AllEthIntfCounterRillo final : public Rillo::Table<Lumic::IntfId, IntfCounter> {
public:
   static constexpr std::string_view entityType = "Interface::AllEthIntfCounterRillo";
   using Table::Table;
};

// An existing writer.
class EthIntfCounterWriterStatus final : public Pavo::RefCounted {
public:
   explicit EthIntfCounterWriterStatus(std::string name) : name_(std::move(name)) {}
   [[nodiscard]] const std::string& name() const { return name_; }

private:
   const std::string name_;
};

// Mounts writers' tables for reading, as long as it lives.
class EthIntfCounterMountHelper {
public:
   explicit EthIntfCounterMountHelper(Pavo::Ptr<ZeltSharedMem::EntityManager> manager)
        : manager_(std::move(manager)) {}

   // Mounts the writer's table, which accepts reactors. Replaces the previous mount for this writer.
   // RETURNS: the table, or null if it does not exist.
   Pavo::Ptr<const AllEthIntfCounterRillo> doMountNotifying(const std::string& writer,
                                                            const std::string& table);
   // A no-op if the writer's table is not mounted.
   void unmount(const std::string& writer) { mounts_.erase(writer); }

   // RETURNS: the path of a writer's table.
   static std::string path(std::string_view writer, std::string_view table);

private:
   const Pavo::Ptr<ZeltSharedMem::EntityManager> manager_;
   std::map<std::string, Tessel::Mount> mounts_;
};

}  // namespace Interface

namespace Rillo::Interface {

// The counters of all LAGs.
class AllIntfCounterDir final : public Table<Lumic::IntfId, ::Interface::IntfCounter> {
public:
   static constexpr std::string_view entityType = "Rillo::Interface::AllIntfCounterDir";
   using Table::Table;
};

}  // namespace Rillo::Interface
