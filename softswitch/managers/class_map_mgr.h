// Class maps.
//
// A class map may name ACLs that do not exist yet, and may be deleted while policy maps name it: clients
// replace a redirect in several steps. The effect on such a policy map shows in its hardware status
// (policy_map_mgr.h).
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value):
//    a key without a name or a feature, in every operation that writes
//    a class map name or a rule's ACL name of more than 400 bytes, or not in UTF-8
//    a rule whose ACL key has no name or no type
//    more class maps than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "orv/class_map.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/policy_codecs.h"
#include "softswitch/tables/table.h"

namespace softswitch {

class ClassMapMgr final : public orv::class_map_mgr {
public:
   using Maps = Table<orv::policy_map_key_t, orv::class_map_t, RulesCodec<orv::class_map_t>>;

   explicit ClassMapMgr(const Context& context);

   void resync_init() override;
   void resync_complete() override;
   orv::class_map_iter_t class_map_iter(orv::policy_feature_t feature) const override;
   bool exists(const orv::policy_map_key_t& key) const override;
   orv::class_map_t class_map(const orv::policy_map_key_t& key) const override;
   void class_map_is(const orv::class_map_t& map) override;
   void class_map_del(const orv::policy_map_key_t& key) override;

   // RETURNS: null if no such class map exists. The pointer is valid until the next change.
   const orv::class_map_t* find(const orv::policy_map_key_t& key) const { return maps_.find(key); }

   // Registers a callback for each class map that is created, changed or removed, from inside that call.
   void onChange(std::function<void()> changed) { changed_.push_back(std::move(changed)); }

   // The maps in the rows have empty keys; the table has the keys.
   const Maps& maps() const { return maps_; }

private:
   void tellChange() const;

   Maps maps_;
   std::vector<std::function<void()>> changed_;
};

// `what` is "class map" or "policy map".
// THROWS: orv::invalid_argument_error for a key without a name or a feature.
void checkPolicyMapKey(std::string_view what, const orv::policy_map_key_t& key);

}  // namespace softswitch
