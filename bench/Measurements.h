// One function per group of figures. Each starts the servers it needs, alternates rounds between daemon and
// floor, and adds medians to the report.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Report.h"

namespace bench {

struct Setup {
   std::string daemonProgram;
   std::string floorProgram;
   std::vector<std::string> floorFlags;
   std::string loadProgram;
   std::string convertProgram;
   std::string streamProgram;
   std::string streamHostProgram;
   // Rounds per figure and server.
   int rounds = 5;
   // Length of a timed round, in seconds.
   double seconds = 2;
   // Distinct routes of the bulk, list, watch, restart and memory figures.
   std::uint64_t routes = 1'000'000;
   std::uint64_t groups = 1000;
   std::size_t perBulk = 1000;
   // Bulks outstanding at any moment. One already keeps the floor's thread busy; two leave it no gap between
   // a reply and the next request.
   std::size_t bulksInFlight = 2;
};

void measureUnary(const Setup& setup, Report& report, const std::string& key, std::size_t inFlight,
                  double target);
// bulk_ip_route_1000 and scale_flatness, sequential prefixes; also the figures of a second pass over the same
// routes and of random prefixes.
void measureBulkRoutes(const Setup& setup, Report& report);
void measureBulkGroups(const Setup& setup, Report& report);
// bulk_mpls_route_1000; also the figure of a second pass over the same labels.
void measureBulkLabels(const Setup& setup, Report& report);
// bulk_redirect_1000, whose floor is the rate of single calls.
void measureRedirects(const Setup& setup, Report& report);
// resync_1m_routes_s, whose floor is the time that the bulks take without a resync.
void measureResync(const Setup& setup, Report& report);
void measurePing(const Setup& setup, Report& report);
// restart_1m_routes_s and rss_1m_routes_mib.
void measureRestart(const Setup& setup, Report& report);

}  // namespace bench
