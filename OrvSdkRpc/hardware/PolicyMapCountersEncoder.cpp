#include "OrvSdkRpc/hardware/PolicyMapCountersEncoder.h"

#include <google/protobuf/io/coded_stream.h>

#include <cstddef>
#include <variant>

#include "OrvSdkRpc/hardware/PbrPolicyCountersMgr.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

using orv::remote::PolicyMapCounters;
using orv::remote::PolicyMapCountersWatchResponse;

namespace {

// Sets the part of an entry's action that an action of its class stands for.
class PbrActionEncoder {
public:
   explicit PbrActionEncoder(PolicyMapCounters& entry) : entry_(entry) {}

   void operator()(const Pbr::PbrDropAction&) const { entry_.mutable_policy_action()->set_drop(true); }
   void operator()(const Pbr::PbrTtlAction& action) const { out().set_ttl(action.ttl); }
   void operator()(const Pbr::PbrNexthopAction& action) const {
      auto& nexthops = *out().mutable_nexthops()->mutable_nexthops();
      nexthops.Assign(action.nexthops.begin(), action.nexthops.end());
   }
   void operator()(const Pbr::PbrNexthopGroupAction& action) const {
      out().set_nexthop_group_name(action.nexthopGroupName);
   }
   void operator()(const Pbr::PbrOtherAction&) const {}

private:
   [[nodiscard]] orv::remote::PolicyMapCountersOutAction& out() const {
      return *entry_.mutable_policy_action()->mutable_out();
   }

   PolicyMapCounters& entry_;
};

// The size of an entry within a response.
std::size_t sizeInResponse(const PolicyMapCounters& entry) {
   const std::size_t size = entry.ByteSizeLong();
   return 1 + google::protobuf::io::CodedOutputStream::VarintSize64(size) + size;
}

}  // namespace

PolicyMapCountersEncoder::PolicyMapCountersEncoder(PbrPolicyCountersMgr& countersMgr,
                                                   const orv::PolicyMapMgrImpl* policyMapMgr)
     : countersMgr_(countersMgr), status_(policyMapMgr == nullptr ? nullptr : policyMapMgr->pbr_status()) {}

bool PolicyMapCountersEncoder::encodeEntry(PolicyMapCounters& entry, const PbrCounters& counters,
                                           const PbrCountersEncodingFlags& flags,
                                           Zelt::Seconds timeShift) const {
   entry.set_key(counters.shortKey);
   if (flags.longKey() || flags.deleted()) encodeLongKey(counters.key, entry);
   if (flags.deleted()) {
      entry.set_operation(orv::remote::POLICY_MAP_COUNTERS_OPERATION_DELETE);
      return true;
   }
   if (counters.status == nullptr) return false;
   auto& values = *entry.mutable_counters();
   values.set_packets(counters.status->packets);
   values.set_bytes(counters.status->bytes);
   values.set_time(counters.status->time + timeShift);
   const auto* const status = classMapStatus(counters.key.policyName, counters.key.className);
   if (status == nullptr) return true;
   for (const auto& action : status->actions)
      std::visit(PbrActionEncoder(entry), action);
   return true;
}

void PolicyMapCountersEncoder::encodeLongKey(const PbrCountersKey& key, PolicyMapCounters& entry) {
   auto& name = *entry.mutable_key_name();
   name.set_class_name(key.className);
   name.set_rule_name(key.ruleName);
   *name.mutable_policy_map_key() =
        types::convert(orv::policy_map_key_t(key.policyName, orv::policy_feature_t::pbr));
}

const Pbr::ClassMapStatus* PolicyMapCountersEncoder::classMapStatus(const Pavo::String& policy,
                                                                    const Pavo::String& classMap) const {
   if (status_) {
      if (const auto* const found = status_->classMapStatus(policy, classMap)) return found;
   }
   const auto& slices = countersMgr_.statusDir();
   if (!slices) return nullptr;
   for (const auto& name : slices->names()) {
      const auto slice = slices->entityAs<Pbr::Status>(name);
      if (!slice) continue;
      // The directory keeps the slice's status alive.
      if (const auto* const found = slice->classMapStatus(policy, classMap)) return found;
   }
   return nullptr;
}

std::list<PolicyMapCountersWatchResponse> PolicyMapCountersEncoder::dumpMessages(unsigned long limit) const {
   const orv::sdk_scoped_lock lock;
   const Zelt::Seconds timeShift = Zelt::Clock::seconds(Zelt::Clock::wallMinusSteadyNanos());
   constexpr PbrCountersEncodingFlags flags(PbrCountersEncodingFlags::longKeyBit);
   std::list<PolicyMapCountersWatchResponse> responses;
   std::size_t size = 0;  // of the last response
   countersMgr_.keys().forEach([&](PbrPolicyCountersMgr::Id id, const PbrCountersKey& key) {
      PolicyMapCounters entry;
      if (!encodeEntry(entry, countersMgr_.counters(id, key), flags, timeShift)) return;
      const std::size_t more = sizeInResponse(entry);
      if (responses.empty() || size + more >= limit) {
         responses.emplace_back();
         size = 0;
      }
      *responses.back().add_data() = std::move(entry);
      size += more;
   });
   return responses;
}

}  // namespace OrvSdkRpc
