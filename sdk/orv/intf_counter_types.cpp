#include "orv/intf_counter_types.h"

#include "orv/record_text.h"

namespace orv {

std::size_t intf_counters_t::hash() const {
   return detail::hash_of(out_ucast_pkts_, out_multicast_pkts_, out_broadcast_pkts_, in_ucast_pkts_,
                          in_multicast_pkts_, in_broadcast_pkts_, out_octets_, in_octets_, out_discards_,
                          out_errors_, in_discards_, in_errors_, sample_time_);
}

std::string intf_counters_t::to_string() const {
   return detail::record_text("intf_counters_t",
                              {{"out_ucast_pkts", detail::text_of(out_ucast_pkts_)},
                               {"out_multicast_pkts", detail::text_of(out_multicast_pkts_)},
                               {"out_broadcast_pkts", detail::text_of(out_broadcast_pkts_)},
                               {"in_ucast_pkts", detail::text_of(in_ucast_pkts_)},
                               {"in_multicast_pkts", detail::text_of(in_multicast_pkts_)},
                               {"in_broadcast_pkts", detail::text_of(in_broadcast_pkts_)},
                               {"out_octets", detail::text_of(out_octets_)},
                               {"in_octets", detail::text_of(in_octets_)},
                               {"out_discards", detail::text_of(out_discards_)},
                               {"out_errors", detail::text_of(out_errors_)},
                               {"in_discards", detail::text_of(in_discards_)},
                               {"in_errors", detail::text_of(in_errors_)},
                               {"sample_time", detail::text_of(sample_time_)}});
}

std::size_t intf_traffic_rates_t::hash() const {
   return detail::hash_of(out_pkts_rate_, in_pkts_rate_, out_bits_rate_, in_bits_rate_, sample_time_);
}

std::string intf_traffic_rates_t::to_string() const {
   return detail::record_text("intf_traffic_rates_t", {{"out_pkts_rate", detail::text_of(out_pkts_rate_)},
                                                       {"in_pkts_rate", detail::text_of(in_pkts_rate_)},
                                                       {"out_bits_rate", detail::text_of(out_bits_rate_)},
                                                       {"in_bits_rate", detail::text_of(in_bits_rate_)},
                                                       {"sample_time", detail::text_of(sample_time_)}});
}

}  // namespace orv
