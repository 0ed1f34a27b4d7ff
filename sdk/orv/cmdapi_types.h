// Replies to commands.
//
// Thread-safety: plain values.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "orv/value.h"

namespace orv {

// The switch's reply to commands.
class cmdapi_response_t {
public:
   using sdk_value = cmdapi_response_t;

   cmdapi_response_t() = default;
   // A reply without an error.
   explicit cmdapi_response_t(std::vector<std::string> responses)
        : success_(true), responses_(std::move(responses)) {}
   // An error reply.
   cmdapi_response_t(std::uint32_t error_code, std::string error_message)
        : error_code_(error_code), error_message_(std::move(error_message)) {}

   // Every command was executed.
   [[nodiscard]] bool success() const noexcept { return success_; }
   void success_is(bool v) { success_ = v; }
   // The switch's error number; 0 on success.
   [[nodiscard]] std::uint32_t error_code() const noexcept { return error_code_; }
   void error_code_is(std::uint32_t v) { error_code_ = v; }
   // Empty on success.
   [[nodiscard]] const std::string& error_message() const noexcept { return error_message_; }
   void error_message_is(std::string v) { error_message_ = std::move(v); }
   // One reply per executed command, in JSON.
   [[nodiscard]] const std::vector<std::string>& responses() const noexcept { return responses_; }
   void responses_is(std::vector<std::string> v) { responses_ = std::move(v); }
   // The whole reply as the switch sent it.
   [[nodiscard]] const std::string& raw_response() const noexcept { return raw_response_; }
   void raw_response_is(std::string v) { raw_response_ = std::move(v); }

   bool operator==(const cmdapi_response_t&) const = default;
   [[nodiscard]] std::size_t hash() const;
   [[nodiscard]] std::string to_string() const;

private:
   bool success_ = false;
   std::uint32_t error_code_ = 0;
   std::string error_message_;
   std::vector<std::string> responses_;
   std::string raw_response_;
};

}  // namespace orv
