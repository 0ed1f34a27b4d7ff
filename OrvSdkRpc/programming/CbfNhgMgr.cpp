#include "OrvSdkRpc/programming/CbfNhgMgr.h"

#include <stdexcept>

#include "OrvSdkRpc/programming/Reply.h"
#include "orv/error.h"
#include "platform/tessel/EntityManager.h"
#include "platform/tessel/MountGroup.h"
#include "platform/tessel/SharedMem.h"

namespace OrvSdkRpc {
namespace {

constexpr std::size_t overrideSize = 1024;

}  // namespace

void CbfNhgMgr::doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                         const Pavo::Ptr<ZeltSharedMem::MountGroup>&) {
   try {
      state->mount<CbfNhgExt::CbfNhgOverrideConfig>(CbfNhgExt::CbfNhgOverrideConfig::mountPath,
                                                    Tessel::MountMode::write, "nhgOverride", overrideSize);
   } catch (const std::runtime_error& e) {
      orv::fmttrace(programmingTracer(), 0, "Only a single OrvSdkRpc agent can use CbfNhg: {}", e.what());
      orv::panic(orv::unsupported_error(
           "Multiple OrvSdkRpc agents tried to use CbfNhg, only one OrvSdkRpcagent can use CbfNhg"));
   }
}

void CbfNhgMgr::onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                                 const Pavo::Ptr<ZeltSharedMem::EntityManager>&) {
   config_ = state->entity<CbfNhgExt::CbfNhgOverrideConfig>(CbfNhgExt::CbfNhgOverrideConfig::mountPath);
}

void CbfNhgMgr::override_set(const CbfNhgExt::CbfNhgOverrideEntry& entry) {
   if (config_) config_->nhgOverrideIs(entry);
}

void CbfNhgMgr::override_del(const CbfNhgExt::CbfNhgOverrideKey& key) {
   if (config_) config_->nhgOverrideDel(key);
}

}  // namespace OrvSdkRpc
