// Tracks which nexthop groups have entered or left hardware, so that routes over them are looked at again.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <vector>

#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/names.h"

namespace softswitch {

// A manager of routes derives from it. A call of sweep() starts a pass over its rows in pieces; a call during
// a pass restarts the pass.
class GroupSweep : public GroupObserver {
public:
   void groupProgrammed(NameId id, bool fresh) override;
   void groupGone(NameId id) override;

protected:
   explicit GroupSweep(const Names& groupNames) : names_(groupNames) {}
   ~GroupSweep() = default;

   virtual void sweep() = 0;
   // RETURNS: whether the group has entered or left hardware since the last pass; false for Names::none.
   bool groupChanged(NameId id) const { return id < changed_.size() && changed_[id]; }
   // Call this at the end of a pass.
   void swept() { changed_.clear(); }

private:
   void note(NameId id);

   const Names& names_;
   std::vector<bool> changed_;  // by number
};

}  // namespace softswitch
