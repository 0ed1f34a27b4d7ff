// VRFs: "default", which always exists, and the configured ones.
//
// Refusals (orv::invalid_argument_error unless noted otherwise, naming the value):
//    a name that is not 1 to 63 letters, digits, '.', '_' or '-', or that is "default" or "all"
//    removing a VRF that does not exist or is in use
//    more VRFs than the table holds, or a full disk (orv::error)
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orv/vrf.h"
#include "softswitch/managers/context.h"
#include "softswitch/tables/table.h"

namespace softswitch {

struct VrfRow {
   bool operator==(const VrfRow&) const = default;
};

struct VrfCodec {
   static constexpr std::uint8_t version = 1;
   static void encodeKey(const std::string& key, store::Writer& out) { out.text(key); }
   static std::string decodeKey(store::Reader& in) { return std::string(in.text()); }
   static void encodeRow(const VrfRow&, store::Writer&) {}
   static VrfRow decodeRow(store::Reader&, std::uint8_t) { return {}; }
};

class VrfMgr final : public orv::vrf_mgr {
public:
   using Config = Table<std::string, VrfRow, VrfCodec>;

   explicit VrfMgr(const Context& context);

   orv::vrf_iter_t vrf_iter() const override;
   bool exists(const std::string& vrf_name) const override;

   // For managers whose objects name a VRF.
   // THROWS: orv::invalid_argument_error if the VRF does not exist.
   void require(const std::string& name) const;

   // A no-op if the VRF exists.
   void vrfSet(const std::string& name);
   void vrfDel(const std::string& name);

   // Returns what uses a VRF, as in "3 IP routes", or an empty text. Called before a removal.
   using Usage = std::function<std::string(const std::string& name)>;
   void usageIs(Usage usage) { usages_.push_back(std::move(usage)); }

   // The VRFs other than "default".
   const Config& config() const { return config_; }

private:
   Config config_;
   std::vector<Usage> usages_;
};

}  // namespace softswitch
