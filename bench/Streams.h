// The figures of lists, watches, dumps and bulk streams.
#pragma once

#include "Measurements.h"

namespace bench {

// list_nexthop_groups and list_flatness.
void measureLists(const Setup& setup, Report& report);
// watch_fanout_1 and watch_fanout_100.
void measureFanOut(const Setup& setup, Report& report, std::size_t streams);
// publish_ns_per_watcher and queue_bytes_per_message.
void measurePublish(const Setup& setup, Report& report);
void measureEventLatency(const Setup& setup, Report& report);
void measureDump(const Setup& setup, Report& report);
void measureBulkStream(const Setup& setup, Report& report);
void measurePolicyCounters(const Setup& setup, Report& report);

}  // namespace bench
