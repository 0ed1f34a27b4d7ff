#pragma once

// The tables that several processes of the switch share. They are mounted like the state database, but have
// their own namespace.
// Thread-safety: as Tessel::EntityManager.

#include <utility>

#include "platform/tessel/EntityManager.h"
#include "platform/tessel/MountGroup.h"

namespace ZeltSharedMem {

class EntityManager final : public Tessel::EntityManager {};

class MountGroup final : public Tessel::MountGroup {
public:
   explicit MountGroup(Pavo::Ptr<EntityManager> manager) : Tessel::MountGroup(std::move(manager)) {}
};

}  // namespace ZeltSharedMem
