#include "orvctl/YamlText.h"

#include <fmt/format.h>
#include <yaml-cpp/yaml.h>

#include "orvctl/ExitCode.h"

namespace orvctl {
namespace {

using YamlTree = nlohmann::ordered_json;

constexpr int kLevelsMax = 100;

// A node without a place, such as an empty document, counts as the first line.
int lineOf(const YAML::Mark& mark) {
   return mark.is_null() ? 1 : mark.line + 1;
}

[[noreturn]] void refuseYaml(std::string_view what, const YAML::Mark& mark, std::string_view problem) {
   throw UsageError(fmt::format("{} line {}: {}", what, lineOf(mark), problem));
}

YamlTree scalarTree(const YAML::Node& node) {
   const std::string& text = node.Scalar();
   // The library gives plain scalars this tag, and quoted ones another.
   if (node.Tag() == "?") {
      if (text == "true" || text == "True" || text == "TRUE") return true;
      if (text == "false" || text == "False" || text == "FALSE") return false;
   }
   return text;
}

// An alias may lead back to a node above it, so the number of levels is limited.
YamlTree treeOf(std::string_view what, const YAML::Node& node, int levels) {
   if (levels == 0)
      refuseYaml(what, node.Mark(), fmt::format("expected at most {} levels of nesting", kLevelsMax));
   if (node.IsScalar()) return scalarTree(node);
   if (node.IsSequence()) {
      YamlTree list = YamlTree::array();
      for (const auto& element : node)
         list.push_back(treeOf(what, element, levels - 1));
      return list;
   }
   if (!node.IsMap()) return nullptr;
   YamlTree object = YamlTree::object();
   for (const auto& entry : node) {
      if (!entry.first.IsScalar()) refuseYaml(what, entry.first.Mark(), "expected a scalar as key");
      const std::string& key = entry.first.Scalar();
      if (object.contains(key))
         refuseYaml(what, entry.first.Mark(), fmt::format("the key '{}' is given twice", key));
      object[key] = treeOf(what, entry.second, levels - 1);
   }
   return object;
}

}  // namespace

std::vector<YamlItem> readYaml(std::string_view what, const std::string& text) {
   std::vector<YamlItem> items;
   try {
      for (const YAML::Node& document : YAML::LoadAll(text)) {
         if (document.IsNull()) continue;
         if (document.IsSequence()) {
            for (const auto& element : document)
               items.push_back({lineOf(element.Mark()), treeOf(what, element, kLevelsMax)});
         } else {
            items.push_back({lineOf(document.Mark()), treeOf(what, document, kLevelsMax)});
         }
      }
   } catch (const YAML::Exception& error) {
      refuseYaml(what, error.mark, fmt::format("expected YAML: {}", error.msg));
   }
   return items;
}

}  // namespace orvctl
