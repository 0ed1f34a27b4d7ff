// The list of IP routes over the software switch, whose tables change between its steps.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "OrvSdkRpc/mirror/IpRoutesAdapter.h"
#include "RouteValues.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "testing/softswitch/SwitchFixture.h"

namespace OrvSdkRpc {
namespace {

// Routes are 10.<n>.0.0/16. In three VRFs the even ones stay; the odd ones, and three more VRFs, come and go.
class IpRoutesAdapterSwitchTest : public softswitch::SwitchFixture {
protected:
   static constexpr int routesEnd = 20;

   void SetUp() override {
      SwitchFixture::SetUp();
      service_ = std::make_unique<IpRouteService>(sw().get_ip_route_mgr(), sw().get_vrf_mgr());
      for (const std::string& vrf : staying()) {
         if (vrf != "default") sw().vrfs().vrfSet(vrf);
         live_[vrf];
         for (int n = 0; n < routesEnd; n += 2)
            set(vrf, n);
      }
   }

   static const std::vector<std::string>& staying() {
      static const std::vector<std::string> vrfs{"default", "blue", "red"};
      return vrfs;
   }
   static std::string prefixOf(int n) { return fmt::format("10.{}.0.0/16", n); }
   static int numberOf(const orv::ip_route_key_t& key) { return key.prefix().network().addr()[1]; }
   // The vias of a route follow from its number.
   static int viasOf(int n) { return n % 4; }
   static std::uint32_t vniOf(int n) { return 1 + static_cast<std::uint32_t>(n % 3); }

   void set(const std::string& vrf, int n) {
      sw().ipRoutes().ip_route_set(routeTo(prefixOf(n)), vrf);
      for (int hop = 1; hop <= viasOf(n); ++hop) {
         auto via = OrvSdkRpc::hopVia(prefixOf(n), fmt::format("192.0.2.{}", hop));
         via.vni_is(vniOf(n));
         sw().ipRoutes().ip_route_via_set(via, vrf);
      }
      live_[vrf].insert(n);
      ever_.emplace(vrf, n);
   }
   void del(const std::string& vrf, int n) {
      sw().ipRoutes().ip_route_del(routeKey(prefixOf(n)), vrf);
      live_[vrf].erase(n);
   }
   int any(int below) { return static_cast<int>(random_() % static_cast<std::uint32_t>(below)); }
   // Sets or deletes an odd route, or makes or removes a VRF.
   void change() {
      auto at = live_.begin();
      std::advance(at, any(static_cast<int>(live_.size())));
      const std::string vrf = at->first;
      const int n = 1 + 2 * any(routesEnd / 2);
      switch (any(4)) {
         case 0:
            return del(vrf, n);
         case 1: {
            // In front of the others by name, between them, and behind them.
            static const std::vector<std::string> names{"amber", "green", "violet"};
            const std::string& passing = names[random_() % names.size()];
            if (!live_.contains(passing)) {
               sw().vrfs().vrfSet(passing);
               live_[passing];
               return;
            }
            const std::set<int> routes = live_[passing];
            for (const int route : routes)
               del(passing, route);
            sw().vrfs().vrfDel(passing);
            live_.erase(passing);
            return;
         }
         default:
            return set(vrf, n);
      }
   }
   // What exists when a list begins.
   void begin() {
      ever_.clear();
      for (const auto& each : live_) {
         for (const int n : each.second)
            ever_.emplace(each.first, n);
      }
   }
   static bool found(IpRoutesAdapter::Iterator& it) {
      while (it.searching())
         it.search();
      return static_cast<bool>(it);
   }

   std::mt19937 random_;
   std::unique_ptr<IpRouteService> service_;
   // Routes by VRF, and all that existed at any time since begin().
   std::map<std::string, std::set<int>> live_;
   std::set<std::pair<std::string, int>> ever_;
};

TEST_F(IpRoutesAdapterSwitchTest, whatStaysIsListedOnceAndInOrderWhateverComesAndGoes) {
   for (std::uint32_t seed = 1; seed <= 64; ++seed) {
      random_.seed(seed);
      orv::remote::IpRoutesRequest request;
      request.set_vrf_name("all");
      request.set_include_vias(seed % 2 != 0);
      request.set_vias_only(seed / 2 % 2 != 0);
      request.set_embed_vias(seed / 4 % 2 != 0);
      request.set_vni(seed / 8 % 4);
      SCOPED_TRACE(fmt::format("seed {}: {}", seed, request.ShortDebugString()));
      const auto matches = [&](int n) {
         return request.vni() == 0 || (viasOf(n) != 0 && vniOf(n) == request.vni());
      };

      begin();
      std::pair<std::string, int> last;
      std::set<std::pair<std::string, int>> listed;
      std::map<int, int> vias;  // of even routes, over all VRFs
      for (auto it = IpRoutesAdapter::iterator(request, *service_); found(it); ++it) {
         if (const auto* const via = std::get_if<orv::ip_route_via_t>(&*it)) {
            const int n = numberOf(via->route_key());
            EXPECT_TRUE(matches(n)) << n;
            if (!request.vias_only()) {
               EXPECT_EQ(n, last.second) << "a via behind another route";
            }
            if (n % 2 == 0) ++vias[n];
         } else {
            const auto& item = std::get<RouteViaIterator::Route>(*it);
            const int n = numberOf(item.route.key());
            // The default VRF comes in front of every name.
            const std::pair position{item.vrfName == "default" ? std::string() : item.vrfName, n};
            if (!listed.empty()) {
               EXPECT_LT(last, position);
            }
            last = position;
            EXPECT_TRUE(matches(n)) << n;
            EXPECT_TRUE(ever_.contains({item.vrfName, n})) << item.vrfName << " " << n;
            EXPECT_TRUE(listed.emplace(item.vrfName, n).second) << item.vrfName << " " << n;
            EXPECT_EQ(item.vias.has_value(), request.embed_vias());
            if (item.vias && n % 2 == 0) vias[n] += static_cast<int>(item.vias->size());
         }
         for (int changes = any(3); changes > 0; --changes)
            change();
      }

      const bool routesAreSent = request.embed_vias() || !request.vias_only();
      const bool viasAreSent = request.embed_vias() || request.include_vias();
      for (int n = 0; n < routesEnd; n += 2) {
         for (const std::string& vrf : staying())
            EXPECT_EQ(listed.contains({vrf, n}), routesAreSent && matches(n)) << vrf << " " << n;
         EXPECT_EQ(vias[n], viasAreSent && matches(n) ? 3 * viasOf(n) : 0) << n;
      }
      settle();
   }
}

}  // namespace
}  // namespace OrvSdkRpc
