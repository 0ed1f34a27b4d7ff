#include "orv/cmdapi_types.h"

#include "orv/record_text.h"

namespace orv {

std::size_t cmdapi_response_t::hash() const {
   return detail::hash_of(success_, error_code_, error_message_, responses_, raw_response_);
}

std::string cmdapi_response_t::to_string() const {
   return detail::record_text("cmdapi_response_t", {{"success", detail::text_of(success_)},
                                                    {"error_code", detail::text_of(error_code_)},
                                                    {"error_message", detail::text_of(error_message_)},
                                                    {"responses", detail::text_of(responses_)},
                                                    {"raw_response", detail::text_of(raw_response_)}});
}

}  // namespace orv
