#pragma once

// The counter tables: one table per counter writer, a process or line card that counts the traffic of some
// Ethernet interfaces, and one for all LAGs.
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

/// In the state database: a Zelt::Dir with an EthIntfCounterWriterStatus per writer that is there.
inline constexpr std::string_view ethWriterStatusPath = "interface/ethIntfCounter/writerStatus";
/// In shared memory: a Rillo::Interface::AllIntfCounterDir.
inline constexpr std::string_view lagCounterPath = "interface/counter/lag/current";

/// The interfaces of one writer.
class AllEthIntfCounterRillo final : public Rillo::Table<Lumic::IntfId, IntfCounter> {
public:
   static constexpr std::string_view entityType = "Interface::AllEthIntfCounterRillo";
   using Table::Table;
};

/// A writer that is there.
class EthIntfCounterWriterStatus final : public Pavo::RefCounted {
public:
   explicit EthIntfCounterWriterStatus(std::string name) : name_(std::move(name)) {}
   [[nodiscard]] const std::string& name() const { return name_; }

private:
   const std::string name_;
};

/// Mounts writers' tables as reader, for its own life.
class EthIntfCounterMountHelper {
public:
   explicit EthIntfCounterMountHelper(Pavo::Ptr<ZeltSharedMem::EntityManager> manager)
        : manager_(std::move(manager)) {}

   /// The writer's table, whose changes can be reacted to; null if it is not there. In place of what was
   /// mounted for the writer before.
   Pavo::Ptr<const AllEthIntfCounterRillo> doMountNotifying(const std::string& writer,
                                                            const std::string& table);
   /// One that is not mounted is no error.
   void unmount(const std::string& writer) { mounts_.erase(writer); }

   /// Where a writer's table is.
   static std::string path(std::string_view writer, std::string_view table);

private:
   const Pavo::Ptr<ZeltSharedMem::EntityManager> manager_;
   std::map<std::string, Tessel::Mount> mounts_;
};

}  // namespace Interface

namespace Rillo::Interface {

/// All LAGs.
class AllIntfCounterDir final : public Table<Lumic::IntfId, ::Interface::IntfCounter> {
public:
   static constexpr std::string_view entityType = "Rillo::Interface::AllIntfCounterDir";
   using Table::Table;
};

}  // namespace Rillo::Interface
