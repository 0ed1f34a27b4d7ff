// VRFs: "default", which is always there, and those that were configured.
//
// Refusals (orv::invalid_argument_error, naming the value):
//    a name that is not 1 to 63 letters, digits, '.', '_' or '-', or that is "default" or "all"
//    the removal of a VRF that is not there, or that something still uses
//    and orv::error for one more than the table holds
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

   // Refuses a VRF that is not there: for managers whose objects name one.
   void require(const std::string& name) const;

   // One that is there already stays as it is.
   void vrfSet(const std::string& name);
   void vrfDel(const std::string& name);

   // Tells what of a VRF is in use, as in "3 IP routes", or nothing. Asked before a removal.
   using Usage = std::function<std::string(const std::string& name)>;
   void usageIs(Usage usage) { usages_.push_back(std::move(usage)); }

   // All but "default".
   const Config& config() const { return config_; }

private:
   Config config_;
   std::vector<Usage> usages_;
};

}  // namespace softswitch
