// Which nexthop groups have come to hardware or left it, for routes that then look again at those over them.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <vector>

#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/names.h"

namespace softswitch {

// A manager of routes derives from it and walks over its rows when sweep() tells it to, in pieces. A call
// during a walk begins that anew.
class GroupSweep : public GroupObserver {
public:
   void groupProgrammed(NameId id, bool fresh) override;
   void groupGone(NameId id) override;

protected:
   explicit GroupSweep(const Names& groupNames) : names_(groupNames) {}
   ~GroupSweep() = default;

   virtual void sweep() = 0;
   // Whether the group of that number has come or gone since the last walk; never for Names::none.
   bool groupChanged(NameId id) const { return id < changed_.size() && changed_[id]; }
   // The walk has come to its end.
   void swept() { changed_.clear(); }

private:
   void note(NameId id);

   const Names& names_;
   std::vector<bool> changed_;  // by number
};

}  // namespace softswitch
