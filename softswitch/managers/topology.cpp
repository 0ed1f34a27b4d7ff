#include "softswitch/managers/topology.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sstream>
#include <unordered_set>

namespace softswitch {
namespace {

using nlohmann::json;

constexpr MacAddress defaultSystemMac{0x02, 0, 0, 0, 0, 0};
constexpr std::size_t maxFileBytes = 4 << 20;
constexpr int maxDepth = 8;
constexpr std::size_t maxNameLength = 64;
constexpr std::size_t maxKernelNameLength = 15;  // of a Linux interface
constexpr std::uint64_t firstMacOfLaterPorts = 0x10000;

struct TypeTraits {
   IntfType type;
   std::string_view name;
   std::string_view namePrefix;
   std::string_view kernelPrefix;
   std::uint64_t defaultSpeed;
};

constexpr std::uint64_t mega = 1'000'000;
constexpr std::uint64_t giga = 1'000'000'000;

constexpr std::array typeTable{
     TypeTraits{IntfType::ethernet, "ethernet", "Ethernet", "eth", 100 * giga},
     TypeTraits{IntfType::loopback, "loopback", "Loopback", "lo", 0},
     TypeTraits{IntfType::management, "management", "Management", "mgmt", giga},
     TypeTraits{IntfType::lag, "lag", "Lag", "lag", 0},
     TypeTraits{IntfType::vlan, "vlan", "Vlan", "vlan", 0},
     TypeTraits{IntfType::vxlan, "vxlan", "Vxlan", "vxlan", 0},
};

struct SpeedName {
   std::string_view name;
   std::uint64_t bps;
};

constexpr std::array speedTable{
     SpeedName{"10M", 10 * mega},    SpeedName{"100M", 100 * mega},  SpeedName{"1G", giga},
     SpeedName{"2.5G", 2500 * mega}, SpeedName{"5G", 5 * giga},      SpeedName{"10G", 10 * giga},
     SpeedName{"25G", 25 * giga},    SpeedName{"40G", 40 * giga},    SpeedName{"50G", 50 * giga},
     SpeedName{"100G", 100 * giga},  SpeedName{"200G", 200 * giga},  SpeedName{"400G", 400 * giga},
     SpeedName{"800G", 800 * giga},  SpeedName{"1.6T", 1600 * giga},
};

const TypeTraits& traits(IntfType type) {
   return *std::find_if(typeTable.begin(), typeTable.end(), [&](const auto& t) { return t.type == type; });
}

// Bounded, so that a refusal stays one readable line whatever the file holds.
std::string shown(const json& value) {
   std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
   if (text.size() > 80) text = text.substr(0, 77) + "...";
   return text;
}

// A name split into a stem and its last number: "Ethernet2/1" is {"Ethernet2/", 1}.
struct NumberedName {
   std::string stem;
   std::optional<std::uint32_t> number;

   std::string plus(std::uint32_t offset) const {
      return number ? stem + std::to_string(*number + offset) : stem;
   }
};

NumberedName numbered(std::string_view name) {
   auto digits = name.size();
   while (digits > 0 && std::isdigit(static_cast<unsigned char>(name[digits - 1])))
      --digits;
   std::uint32_t number = 0;
   const auto [end, error] = std::from_chars(name.data() + digits, name.data() + name.size(), number);
   if (digits == name.size() || error != std::errc{} || number > 999'999) {
      return {.stem = std::string(name), .number = std::nullopt};
   }
   return {.stem = std::string(name.substr(0, digits)), .number = number};
}

bool validName(std::string_view name, std::size_t maxLength) {
   const auto plain = [](unsigned char c) {
      return std::isalnum(c) || c == '/' || c == '.' || c == '_' || c == '-';
   };
   return !name.empty() && name.size() <= maxLength && std::isalpha(static_cast<unsigned char>(name[0])) &&
          std::all_of(name.begin(), name.end(), plain);
}

MacAddress macPlus(const MacAddress& mac, std::uint64_t offset) {
   std::uint64_t number = 0;
   for (auto byte : mac)
      number = number << 8 | byte;
   number += offset;
   MacAddress result{};
   for (std::size_t i = 0; i < 6; ++i)
      result[i] = static_cast<std::uint8_t>(number >> (40 - 8 * i));
   return result;
}

std::optional<MacAddress> macFromText(std::string_view text) {
   if (text.size() != 17) return std::nullopt;
   MacAddress mac{};
   for (std::size_t i = 0; i < 6; ++i) {
      const char* first = text.data() + 3 * i;
      const auto [end, error] = std::from_chars(first, first + 2, mac[i], 16);
      if (error != std::errc{} || end != first + 2 || (i < 5 && first[2] != ':')) return std::nullopt;
   }
   const bool group = mac[0] & 1;
   return group || mac == MacAddress{} ? std::nullopt : std::optional(mac);
}

class Reader {
public:
   explicit Reader(std::string_view source) : source_(source) {}

   template <typename... Args>
   [[noreturn]] void refuse(fmt::format_string<Args...> format, Args&&... args) const {
      throw TopologyError(
           fmt::format("topology {}: {}", source_, fmt::format(format, std::forward<Args>(args)...)));
   }

   json document(std::string_view text) const {
      // The parser silently keeps the last of two equal keys, so collect the keys of each open object.
      std::vector<std::set<std::string>> keys;
      const auto check = [&](int depth, json::parse_event_t event, json& value) {
         // Bounds the recursion when a refusal prints the value.
         if (depth > maxDepth) refuse("is nested more than {} deep", maxDepth);
         if (event == json::parse_event_t::object_start) keys.emplace_back();
         if (event == json::parse_event_t::object_end) keys.pop_back();
         if (event == json::parse_event_t::key && !keys.back().insert(value.get<std::string>()).second) {
            refuse("key {} is given twice, expected once per object", shown(value));
         }
         return true;
      };
      try {
         return json::parse(text, check);
      } catch (const json::exception& e) {
         std::string_view words = e.what();
         if (const auto tag = words.find("] "); tag != std::string_view::npos) words.remove_prefix(tag + 2);
         refuse("expected one JSON object: {}", words);
      }
   }

   void knownKeys(const json& object, std::string_view where,
                  std::initializer_list<std::string_view> known) const {
      for (const auto& item : object.items()) {
         if (std::find(known.begin(), known.end(), item.key()) == known.end()) {
            refuse("{}: unknown key {}, expected one of {}", where, shown(json(item.key())),
                   fmt::join(known, ", "));
         }
      }
   }

   std::string text(const json& object, std::string_view where, const char* key,
                    std::string_view expected) const {
      const auto& value = object.at(key);
      if (!value.is_string()) refuse("{}: {} is {}, expected {}", where, key, shown(value), expected);
      return value.get<std::string>();
   }

   MacAddress mac(const json& object, std::string_view where, const char* key) const {
      constexpr std::string_view expected = "six hex bytes of a unicast address as in 02:00:00:00:00:01";
      const auto mac = macFromText(text(object, where, key, expected));
      if (!mac) refuse("{}: {} is {}, expected {}", where, key, shown(object.at(key)), expected);
      return *mac;
   }

   IntfType type(const json& entry, std::string_view where, std::string_view name) const {
      if (entry.contains("type")) {
         const std::string expected = typeNames();
         const auto wanted = text(entry, where, "type", expected);
         for (const auto& t : typeTable) {
            if (t.name == wanted) return t.type;
         }
         refuse("{}: type is {}, expected {}", where, shown(entry["type"]), expected);
      }
      for (const auto& t : typeTable) {
         if (name.starts_with(t.namePrefix)) return t.type;
      }
      refuse("{}: type is missing, expected {} if the name does not imply it", where, typeNames());
   }

   std::uint64_t speed(const json& entry, std::string_view where, IntfType type) const {
      if (!entry.contains("speed")) return traits(type).defaultSpeed;
      const std::string expected = speedNames();
      const auto wanted = text(entry, where, "speed", expected);
      for (const auto& s : speedTable) {
         if (s.name == wanted) return s.bps;
      }
      refuse("{}: speed is {}, expected {}", where, shown(entry["speed"]), expected);
   }

   bool link(const json& entry, std::string_view where) const {
      if (!entry.contains("link")) return true;
      const auto wanted = text(entry, where, "link", "\"up\" or \"down\"");
      if (wanted != "up" && wanted != "down") {
         refuse("{}: link is {}, expected \"up\" or \"down\"", where, shown(entry["link"]));
      }
      return wanted == "up";
   }

   std::uint32_t count(const json& entry, std::string_view where) const {
      if (!entry.contains("count")) return 1;
      const auto& value = entry["count"];
      if (!value.is_number_unsigned() || value.get<std::uint64_t>() < 1 ||
          value.get<std::uint64_t>() > Topology::maxInterfaces) {
         refuse("{}: count is {}, expected 1 to {}", where, shown(value), Topology::maxInterfaces);
      }
      return value.get<std::uint32_t>();
   }

   std::string kernelName(const json& entry, std::string_view where, const NumberedName& name, IntfType type,
                          std::uint32_t count) const {
      constexpr std::string_view expected = "1 to 15 letters, digits, '.', '_' or '-', a letter first";
      std::string first;
      if (entry.contains("kernel_name")) {
         first = text(entry, where, "kernel_name", expected);
      } else {
         const auto prefix = traits(type).namePrefix;
         std::string rest = name.plus(0);
         rest = rest.starts_with(prefix) ? std::string(traits(type).kernelPrefix) + rest.substr(prefix.size())
                                         : rest;
         std::replace(rest.begin(), rest.end(), '/', '_');
         first = rest;
      }
      const auto parts = numbered(first);
      if (count > 1 && !parts.number) {
         refuse("{}: kernel_name is {}, expected a number at its end to count {} interfaces from", where,
                shown(json(first)), count);
      }
      const auto last = parts.plus(count - 1);
      if (!validName(first, maxKernelNameLength) || last.size() > maxKernelNameLength ||
          first.find('/') != std::string::npos) {
         refuse("{}: kernel_name is {}, expected {}", where, shown(json(last)), expected);
      }
      return first;
   }

   void entry(const json& entry, std::size_t index, const MacAddress& systemMac,
              std::vector<TopologyIntf>& into) const {
      std::string where = fmt::format("interfaces[{}]", index);
      if (!entry.is_object()) refuse("{} is {}, expected an object with a \"name\"", where, shown(entry));
      knownKeys(entry, where, {"name", "count", "type", "speed", "mac", "kernel_name", "link"});
      if (!entry.contains("name")) refuse("{}: name is missing, expected a name as in Ethernet1", where);
      constexpr std::string_view nameForm = "1 to 64 letters, digits, '/', '.', '_' or '-', a letter first";
      const auto firstName = text(entry, where, "name", nameForm);
      if (!validName(firstName, maxNameLength)) {
         refuse("{}: name is {}, expected {}", where, shown(entry["name"]), nameForm);
      }
      where += fmt::format(" ({})", firstName);

      const auto n = count(entry, where);
      const auto name = numbered(firstName);
      if (n > 1 && !name.number) {
         refuse("{}: count is {}, expected a name with a number at its end to count from", where, n);
      }
      if (into.size() + n > Topology::maxInterfaces) {
         refuse("{}: {} interfaces, expected at most {}", where, into.size() + n, Topology::maxInterfaces);
      }
      const auto kind = type(entry, where, firstName);
      const auto bps = speed(entry, where, kind);
      const auto linkUp = link(entry, where);
      const auto kernel = numbered(kernelName(entry, where, name, kind, n));
      const auto firstMac =
           entry.contains("mac") ? mac(entry, where, "mac") : macPlus(systemMac, into.size() + 1);
      for (std::uint32_t i = 0; i < n; ++i) {
         into.push_back({.name = name.plus(i),
                         .type = kind,
                         .speedBps = bps,
                         .mac = macPlus(firstMac, i),
                         .kernelName = kernel.plus(i),
                         .linkUp = linkUp});
      }
   }

   void unique(const std::vector<TopologyIntf>& interfaces) const {
      std::unordered_set<std::string> names, kernelNames, macs;
      for (const auto& intf : interfaces) {
         if (!names.insert(intf.name).second) {
            refuse("interface {} is given twice, expected unique names", intf.name);
         }
         if (!kernelNames.insert(intf.kernelName).second) {
            refuse("kernel_name {} of {} is given twice, expected unique kernel names", intf.kernelName,
                   intf.name);
         }
         if (!macs.insert(to_string(intf.mac)).second) {
            refuse("mac {} of {} is given twice, expected unique addresses", to_string(intf.mac), intf.name);
         }
      }
   }

private:
   static std::string typeNames() {
      std::vector<std::string_view> names;
      for (const auto& t : typeTable)
         names.push_back(t.name);
      return fmt::format("one of {}", fmt::join(names, ", "));
   }

   static std::string speedNames() {
      std::vector<std::string_view> names;
      for (const auto& s : speedTable)
         names.push_back(s.name);
      return fmt::format("one of {}", fmt::join(names, ", "));
   }

   std::string_view source_;
};

}  // namespace

std::string_view to_string(IntfType type) {
   return traits(type).name;
}

std::string to_string(const MacAddress& mac) {
   return fmt::format("{:02x}", fmt::join(mac, ":"));
}

std::string speedName(std::uint64_t speedBps) {
   for (const auto& s : speedTable) {
      if (s.bps == speedBps) return std::string(s.name);
   }
   return speedBps == 0 ? std::string() : fmt::format("{}", speedBps);
}

Topology::Topology(const MacAddress& systemMac, std::vector<TopologyIntf> interfaces)
     : systemMac_(systemMac), interfaces_(std::move(interfaces)) {
   for (std::size_t i = 0; i < interfaces_.size(); ++i)
      byName_.emplace(interfaces_[i].name, i);
}

const TopologyIntf* Topology::find(std::string_view name) const {
   const auto found = byName_.find(std::string(name));
   return found == byName_.end() ? nullptr : &interfaces_[found->second];
}

std::optional<TopologyIntf> Topology::fromName(std::string_view name) const {
   const auto* const kind = std::find_if(typeTable.begin(), typeTable.end(),
                                         [&](const auto& t) { return name.starts_with(t.namePrefix); });
   const auto parts = numbered(name);
   if (kind == typeTable.end() || !parts.number || !validName(name, maxNameLength)) return std::nullopt;
   auto kernel = std::string(kind->kernelPrefix) + std::string(name.substr(kind->namePrefix.size()));
   std::replace(kernel.begin(), kernel.end(), '/', '_');
   if (!validName(kernel, maxKernelNameLength)) return std::nullopt;
   // After the addresses of the file; interfaces that are not ports share the system's address.
   const bool port = kind->type == IntfType::ethernet || kind->type == IntfType::management;
   const auto mac = port ? macPlus(systemMac_, firstMacOfLaterPorts + *parts.number) : systemMac_;
   return TopologyIntf{.name = std::string(name),
                       .type = kind->type,
                       .speedBps = kind->defaultSpeed,
                       .mac = mac,
                       .kernelName = std::move(kernel)};
}

Topology Topology::builtIn() {
   return parse(R"({"interfaces": [{"name": "Ethernet1", "count": 64},
                                   {"name": "Loopback0", "count": 16},
                                   {"name": "Management1"}]})",
                "built-in");
}

Topology Topology::load(const std::filesystem::path& file) {
   const Reader reader(file.native());
   std::ifstream in(file, std::ios::binary);
   std::error_code error;
   if (std::filesystem::is_directory(file, error) || !in) {
      reader.refuse("cannot be read, expected a JSON file");
   }
   std::string text(maxFileBytes + 1, '\0');
   in.read(text.data(), static_cast<std::streamsize>(text.size()));
   if (in.bad()) reader.refuse("cannot be read, expected a JSON file");
   text.resize(static_cast<std::size_t>(in.gcount()));
   if (text.size() > maxFileBytes) reader.refuse("is longer than {} bytes", maxFileBytes);
   return parse(text, file.native());
}

Topology Topology::parse(std::string_view text, std::string_view source) {
   const Reader reader(source);
   const auto document = reader.document(text);
   if (!document.is_object()) reader.refuse("is {}, expected one JSON object", shown(document));
   reader.knownKeys(document, "top level", {"system_mac", "interfaces"});
   const auto systemMac =
        document.contains("system_mac") ? reader.mac(document, "top level", "system_mac") : defaultSystemMac;
   if (!document.contains("interfaces")) reader.refuse("interfaces is missing, expected an array of objects");
   const auto& entries = document["interfaces"];
   if (!entries.is_array() || entries.empty()) {
      reader.refuse("interfaces is {}, expected an array of at least one object", shown(entries));
   }
   std::vector<TopologyIntf> interfaces;
   for (std::size_t i = 0; i < entries.size(); ++i)
      reader.entry(entries[i], i, systemMac, interfaces);
   reader.unique(interfaces);
   return Topology(systemMac, std::move(interfaces));
}

}  // namespace softswitch
