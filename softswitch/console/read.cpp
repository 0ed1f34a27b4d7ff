#include "softswitch/console/read.h"

#include "orv/error.h"

namespace softswitch::console {

orv::intf_id_t readIntf(Args& args) {
   constexpr std::string_view expected = "an interface's name as in Ethernet1";
   const auto& word = args.next(expected);
   try {
      if (const orv::intf_id_t intf(word); !!intf) return intf;
   } catch (const orv::error&) {
   }
   args.refuse(expected);
}

orv::ip_addr_t readAddress(Args& args) {
   constexpr std::string_view expected = "an IP address as in 10.0.0.1 or 2001:db8::1";
   const auto& word = args.next(expected);
   try {
      if (const orv::ip_addr_t address(word); !!address) return address;
   } catch (const orv::error&) {
   }
   args.refuse(expected);
}

orv::ip_prefix_t readPrefix(Args& args) {
   constexpr std::string_view expected =
        "a prefix with no bit set behind its length, as in 10.0.0.0/8 or 2001:db8::/32";
   const auto& word = args.next(expected);
   try {
      if (word.find('/') != std::string::npos) return orv::ip_prefix_t(word);
   } catch (const orv::error&) {
   }
   args.refuse(expected);
}

std::string readName(Args& args, std::string_view what) {
   const auto& word = args.next(what);
   if (word.empty()) args.refuse(what);
   return word;
}

}  // namespace softswitch::console
