#include "orvctl/Completion.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "OrvSdkRpcProtos/services.h"
#include "orvctl/Descriptors.h"

namespace orvctl {
namespace {

struct Script {
   // "case" branches: commands that lead one level down, and the words of each level.
   std::string descents;
   std::string words;
   std::set<std::string> fileFlags{"-f"};
   // Commands with an argument that is a file.
   std::set<std::string> filePaths;
   // "case" branches: flags whose values are known words.
   std::string values;
};

void collect(const CLI::App& app, const std::string& path, const std::string& inherited, Script& script) {
   std::string flags;
   for (const CLI::Option* option : app.get_options()) {
      if (option->get_positional() && option->get_type_name() == "FILE")
         script.filePaths.insert(fmt::format("\"{}\"", path));
      for (const auto& name : option->get_lnames()) {
         flags += " --" + name;
         const std::string& values = option->get_type_name();
         if (values == "FILE") script.fileFlags.insert("--" + name);
         if (values.find('|') != std::string::npos) {
            std::string offered = values;
            std::replace(offered.begin(), offered.end(), '|', ' ');
            script.values += fmt::format("  \"{} --{}\") words=\"{}\" ;;\n", path, name, offered);
         }
      }
   }
   std::string words = inherited + flags;
   for (const CLI::App* sub : app.get_subcommands({})) {
      words += " " + sub->get_name();
      const std::string below = path + " " + sub->get_name();
      script.descents += (script.descents.empty() ? "" : "|") + fmt::format("\"{}\"", below);
      // The top level's flags may follow any command.
      collect(*sub, below, inherited.empty() ? flags : inherited, script);
   }
   if (app.get_name() == "call") {
      for (const auto* service : OrvSdkRpc::pb::services()) {
         for (int i = 0; i < service->method_count(); ++i) {
            words += fmt::format(" {}/{}", service->name(), service->method(i)->name());
         }
      }
   }
   script.words +=
        fmt::format("    \"{}\") words=\"{}\" ;;\n", path, words.empty() ? words : words.substr(1));
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
   Script script;
   collect(app, app.get_name(), "", script);
   return fmt::format(R"(# bash completion for {0}; use it with: source <({0} completion bash)
_{0}() {{
  local cur=${{COMP_WORDS[COMP_CWORD]}} prev=${{COMP_WORDS[COMP_CWORD-1]}} path={0} words='' i
  for ((i = 1; i < COMP_CWORD; i++)); do
    case "$path ${{COMP_WORDS[i]}}" in
    {1}) path="$path ${{COMP_WORDS[i]}}" ;;
    esac
  done
  case $prev in
  {2}) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
  esac
  case $path in
{3}  esac
  case "$path $prev" in
{4}  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
  case $path in
  {5})
    compopt -o filenames
    mapfile -t -O "${{#COMPREPLY[@]}}" COMPREPLY < <(compgen -f -- "$cur")
    ;;
  esac
}}
complete -F _{0} {0}
)",
                      app.get_name(), script.descents, fmt::join(script.fileFlags, "|"), script.words,
                      script.values, fmt::join(script.filePaths, "|"));
}

}  // namespace orvctl
