// Running sBFD sessions, and the model of the far ends that answer them.
#include "softswitch/console/sbfd.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "softswitch/console/read.h"
#include "softswitch/console/rows.h"
#include "softswitch/console/show.h"
#include "softswitch/sbfd/bfd_session_mgr.h"
#include "softswitch/sbfd/sbfd_model.h"
#include "softswitch/soft_switch.h"

namespace softswitch::console {
namespace {

constexpr std::int64_t nanosPerMicro = 1000;

// Empty for the default.
std::optional<SbfdFarEndPlace> readPlace(Args& args) {
   if (args.take("default")) return std::nullopt;
   SbfdFarEndPlace place{.nexthop = readAddress(args), .intf = {}};
   if (args.take("interface")) place.intf = readIntf(args);
   return place;
}

// A session's configuration and state, read together.
struct Row {
   orv::sbfd_echo_session_key_t key;
   BfdSessionRow configured;
   BfdSessionMgr::State state;
};

// An iterator over the sessions that yields keys and rows.
class SessionWalk {
public:
   using Pair = std::pair<orv::sbfd_echo_session_key_t, BfdSessionRow>;

   explicit SessionWalk(const BfdSessionMgr::Sessions& sessions) : cursor_(sessions) { ++*this; }
   explicit operator bool() const { return there_; }
   const Pair& operator*() const { return pair_; }
   SessionWalk& operator++() {
      const auto item = cursor_.next();
      there_ = static_cast<bool>(item);
      if (there_) pair_ = {*item.key, *item.row};
      return *this;
   }

private:
   BfdSessionMgr::Sessions::Cursor cursor_;
   bool there_ = false;
   Pair pair_;
};

Json sessionJson(const Row& row) {
   Json labels = Json::array();
   for (const auto label : row.key.label_stack())
      labels.push_back(label.label());
   const auto& rtt = row.state.rtt;
   return {{"nexthop", row.key.nexthop().to_string()},
           {"interface", row.key.nexthop_intf().to_string()},
           {"labels", std::move(labels)},
           {"dscp", row.key.dscp()},
           {"exp", row.key.mpls_exp()},
           {"min_tx_ms", row.configured.interval.min_tx()},
           {"multiplier", row.configured.interval.multiplier()},
           {"rtt_enabled", row.configured.rttEnabled},
           {"status", orv::to_string(row.state.status)},
           {"sent", row.state.sent},
           {"answered", row.state.answered},
           {"last_rtt_us", rtt.last_rtt()},
           {"min_rtt_us", rtt.min_rtt()},
           {"avg_rtt_us", rtt.avg_rtt()},
           {"max_rtt_us", rtt.max_rtt()},
           {"snapshot_min_rtt_us", rtt.snapshot_min_rtt()},
           {"snapshot_avg_rtt_us", rtt.snapshot_avg_rtt()},
           {"snapshot_max_rtt_us", rtt.snapshot_max_rtt()}};
}

Json farEndJson(const std::string& nexthop, const std::string& intf, const SbfdFarEnd& farEnd) {
   return {{"nexthop", nexthop},
           {"interface", intf},
           {"state", farEnd.up ? "up" : "down"},
           {"delay_us", farEnd.delayNanos / nanosPerMicro},
           {"jitter_us", farEnd.jitterNanos / nanosPerMicro},
           {"loss_percent", farEnd.lossPercent}};
}

}  // namespace

void setSbfd(Call& call) {
   auto& args = call.args;
   const auto place = readPlace(args);
   auto& model = call.target.sbfdModel();
   auto farEnd = [&] {
      const orv::sdk_scoped_lock lock;
      return place ? model.farEnd(*place) : model.defaultFarEnd();
   }();
   constexpr std::string_view expected = "up, down, delay MICROS, jitter MICROS or loss PERCENT";
   constexpr auto most = static_cast<std::uint64_t>(SbfdModel::delayMax / nanosPerMicro);
   do {
      const auto word = args.next(expected);
      if (word == "up" || word == "down") {
         farEnd.up = word == "up";
      } else if (word == "delay") {
         farEnd.delayNanos = static_cast<std::int64_t>(args.number("microseconds", 0, most)) * nanosPerMicro;
      } else if (word == "jitter") {
         farEnd.jitterNanos = static_cast<std::int64_t>(args.number("microseconds", 0, most)) * nanosPerMicro;
      } else if (word == "loss") {
         farEnd.lossPercent = static_cast<unsigned>(args.number("percent", 0, 100));
      } else {
         args.refuse(expected);
      }
   } while (!args.atEnd());
   const orv::sdk_scoped_lock lock;
   if (place) {
      model.farEndIs(*place, farEnd);
   } else {
      model.defaultFarEndIs(farEnd);
   }
}

void unsetSbfd(Call& call) {
   const auto place = readPlace(call.args);
   call.args.end();
   auto& model = call.target.sbfdModel();
   const orv::sdk_scoped_lock lock;
   if (place) {
      model.farEndDel(*place);
   } else {
      model.defaultFarEndIs({});
   }
}

void showSbfd(SoftSwitch& target, Args& args, Document& document) {
   args.end();
   const auto& sessions = target.bfdSessions();
   document.listing("sbfd_sessions", {{"Nexthop", "nexthop", 15},
                                      {"Interface", "interface", 12},
                                      {"Labels", "labels", 16},
                                      {"DSCP", "dscp", 4},
                                      {"EXP", "exp", 3},
                                      {"ms", "min_tx_ms", 5},
                                      {"x", "multiplier", 3},
                                      {"RTT", "rtt_enabled", 3},
                                      {"Status", "status", 10},
                                      {"Sent", "sent", 8},
                                      {"Answered", "answered", 8},
                                      {"Last us", "last_rtt_us", 7},
                                      {"Min", "min_rtt_us", 7},
                                      {"Avg", "avg_rtt_us", 7},
                                      {"Max", "max_rtt_us"}});
   forEachRow([&] { return SessionWalk(sessions.sessions()); },
              [&](const SessionWalk::Pair& pair) {
                 return Row{
                      .key = pair.first, .configured = pair.second, .state = sessions.state(pair.first)};
              },
              [&](const Row& row) { document.row(sessionJson(row)); });

   document.listing("sbfd_far_ends", {{"Far end", "nexthop", 15},
                                      {"Interface", "interface", 12},
                                      {"State", "state", 5},
                                      {"Delay us", "delay_us", 8},
                                      {"Jitter us", "jitter_us", 9},
                                      {"Loss %", "loss_percent"}});
   const auto [others, rest] = locked([&] {
      const auto& model = target.sbfdModel();
      return std::pair(model.farEnds(), model.defaultFarEnd());
   });
   for (const auto& [place, farEnd] : others)
      document.row(farEndJson(place.nexthop.to_string(), place.intf.to_string(), farEnd));
   document.row(farEndJson("default", "", rest));
}

}  // namespace softswitch::console
