#include "orvctl/Definitions.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>

#include "orvctl/ExitCode.h"
#include "orvctl/YamlText.h"

namespace orvctl {
namespace {

using DefinitionTree = nlohmann::ordered_json;

std::string readWhole(Context& context, std::string_view what, const std::string& file) {
   const auto require = [&](bool good) {
      if (good) return;
      throw UsageError(
           fmt::format("{} is '{}', expected a readable file or '-': {}", what, file, std::strerror(errno)));
   };
   std::ifstream opened;
   if (file != "-") {
      opened.open(file);
      require(opened.is_open());
   }
   std::istream& source = file == "-" ? context.in : opened;
   std::string text;
   std::array<char, 4096> buffer{};
   while (source.read(buffer.data(), buffer.size()) || source.gcount() > 0)
      text.append(buffer.data(), static_cast<size_t>(source.gcount()));
   // A directory can be opened, but not read.
   require(!source.bad());
   return text;
}

// The parser keeps the last of several values with one key, so that a rule would be lost without a word.
class KeysOnce {
public:
   explicit KeysOnce(const std::string& file) : file_(file) {}

   bool operator()(int, DefinitionTree::parse_event_t event, const DefinitionTree& parsed) {
      if (event == DefinitionTree::parse_event_t::object_start) keys_.emplace_back();
      if (event == DefinitionTree::parse_event_t::object_end) keys_.pop_back();
      if (event == DefinitionTree::parse_event_t::key &&
          !keys_.back().insert(parsed.get<std::string>()).second)
         throw UsageError(fmt::format("{}: the key '{}' is given twice", file_, parsed.get<std::string>()));
      return true;
   }

private:
   const std::string& file_;
   std::vector<std::set<std::string>> keys_;
};

// RETURNS: the library's words without the place, which is given in our own.
std::string_view problemOf(const DefinitionTree::parse_error& error) {
   const std::string_view text = error.what();
   return text.substr(std::min(text.find("syntax error"), text.size()));
}

std::vector<Definition> readJson(const std::string& file, const std::string& text) {
   DefinitionTree tree;
   try {
      tree = DefinitionTree::parse(text, KeysOnce(file));
   } catch (const DefinitionTree::parse_error& error) {
      // The byte counts from 1, and may be one after the text.
      const auto before = std::min(error.byte, text.size() + 1) - std::min<size_t>(error.byte, 1);
      const auto end = text.begin() + static_cast<std::ptrdiff_t>(before);
      throw UsageError(fmt::format("{} line {}: expected JSON: {}", file,
                                   1 + std::count(text.begin(), end, '\n'), problemOf(error)));
   }
   if (!tree.is_array()) return {{file, std::move(tree)}};
   std::vector<Definition> definitions;
   for (auto& element : tree)
      definitions.push_back({fmt::format("{} element {}", file, definitions.size() + 1), std::move(element)});
   return definitions;
}

}  // namespace

std::vector<Definition> readDefinitions(Context& context, std::string_view what, const std::string& file) {
   const std::string text = readWhole(context, what, file);
   const size_t first = text.find_first_not_of(" \t\r\n");
   std::vector<Definition> definitions;
   if (first != std::string::npos && (text[first] == '{' || text[first] == '[')) {
      definitions = readJson(file, text);
   } else {
      for (auto& item : readYaml(file, text))
         definitions.push_back({fmt::format("{} line {}", file, item.line), std::move(item.tree)});
   }
   if (definitions.empty())
      throw UsageError(fmt::format("{} is '{}', expected a definition in JSON or YAML", what, file));
   return definitions;
}

}  // namespace orvctl
