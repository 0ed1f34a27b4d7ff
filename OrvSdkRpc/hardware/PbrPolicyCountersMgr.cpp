#include "OrvSdkRpc/hardware/PbrPolicyCountersMgr.h"

#include <string>
#include <vector>

#include "orv/lock.h"
#include "platform/rillo/TableCorruption.h"
#include "platform/state/PbrStatus.h"
#include "platform/tessel/MountGroup.h"
#include "platform/tessel/SharedMem.h"

namespace OrvSdkRpc {

PbrPolicyCountersMgr::PbrPolicyCountersMgr(orv::mount_mgr* mountMgr) : orv::mount_handler(mountMgr) {}

PbrPolicyCountersMgr::~PbrPolicyCountersMgr() = default;

void PbrPolicyCountersMgr::doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                                    const Pavo::Ptr<ZeltSharedMem::MountGroup>& shared) {
   state->mount<Zelt::Dir>(std::string(Pbr::statusDirPath), Tessel::MountMode::read);
   shared->mount<Pbr::CounterTable>(std::string(Pbr::counterPath), Tessel::MountMode::read);
}

void PbrPolicyCountersMgr::onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                                            const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) {
   statusDir_ = state->entity<Zelt::Dir>(Pbr::statusDirPath);
   table_ = shared->entity<Pbr::CounterTable>(Pbr::counterPath);
   if (!table_) return;
   reaction_ = table_->reactorIs([this](const PbrCountersKey& key) { handleCounter(key); });
}

void PbrPolicyCountersMgr::startWatching(const Pavo::Ptr<PbrCountersFrontend>& frontend) {
   orv::sdk_lock_check();
   frontend_ = frontend;
}

void PbrPolicyCountersMgr::stopWatching() {
   orv::sdk_lock_check();
   frontend_ = nullptr;
}

const PbrCountersKeyCompressionTable& PbrPolicyCountersMgr::keys() {
   orv::sdk_lock_check();
   if (!table_) return keys_;
   std::vector<PbrCountersKey> unreported;
   keys_.forEach([&](Id, const PbrCountersKey& key) {
      if (!table_->contains(key)) unreported.push_back(key);
   });
   for (const auto& key : table_->keys()) {
      if (!keys_.contains(key)) unreported.push_back(key);
   }
   for (const auto& key : unreported)
      follow(key);
   if (frontend_ && !unreported.empty()) frontend_->push();
   return keys_;
}

PbrCounters PbrPolicyCountersMgr::counters(Id id, const PbrCountersKey& key) const {
   orv::sdk_lock_check();
   return {.shortKey = id, .key = key, .status = find(key)};
}

void PbrPolicyCountersMgr::handleCounter(const PbrCountersKey& key) {
   const orv::sdk_scoped_lock lock;
   follow(key);
   if (frontend_) frontend_->push();
}

void PbrPolicyCountersMgr::follow(const PbrCountersKey& key) {
   const auto* const status = find(key);
   if (status != nullptr) {
      const auto [id, fresh] = keys_.keyIs(key);
      if (!frontend_) return;
      frontend_->appendItem(
           {.shortKey = id, .key = key, .status = status},
           PbrCountersEncodingFlags(fresh ? PbrCountersEncodingFlags::longKeyBit : std::uint8_t{0}));
   } else if (const auto id = keys_.keyDel(key); id && frontend_) {
      frontend_->appendItem({.shortKey = *id, .key = key, .status = nullptr},
                            PbrCountersEncodingFlags(PbrCountersEncodingFlags::deleteBit));
   }
}

// Reports a damaged row to the table, which repairs or removes it.
const Pbr::CounterStatus* PbrPolicyCountersMgr::find(const PbrCountersKey& key) const {
   if (!table_) return nullptr;
   // Terminates: once reported, a row is intact or gone.
   for (;;) {
      try {
         return table_->find(key);
      } catch (const Rillo::TableCorruption& corruption) {
         table_->doCorruptionDetected(corruption);
      }
   }
}

}  // namespace OrvSdkRpc
