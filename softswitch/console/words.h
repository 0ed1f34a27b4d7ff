// Splits a console line into words and reads arguments from them.
//
// Thread-safety: values without shared state; an Args belongs to one thread.
//
// A line is words separated by spaces and tabs. A word that contains a space, a '|' or a '"' is written in
// double quotes, in which \" is a quote and \\ a backslash. A line is UTF-8 without control characters. "|
// json" at its end, or for show commands a bare last word json, selects the JSON form; a quoted "json" is an
// ordinary word.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace softswitch::console {

// A command that cannot be run as written; what() is one line with the offending word and what was expected.
class CommandError : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;

   template <typename... Args>
   [[noreturn]] static void raise(fmt::format_string<Args...> format, Args&&... args) {
      throw CommandError(fmt::format(format, std::forward<Args>(args)...));
   }
};

enum class Form { table, json };

struct CommandLine {
   std::vector<std::string> words;
   Form form = Form::table;
};

// THROWS: CommandError unless the text is UTF-8 without control characters; tabs are allowed.
void checkCharacters(std::string_view text);

// RETURNS: no words for an empty or blank line.
// THROWS: CommandError.
CommandLine parseLine(std::string_view line);

// A cursor over the words after a command's name. Every read names what it expects, for the refusal.
class Args {
public:
   // The first `consumed` words are the command's name.
   Args(std::span<const std::string> words, std::size_t consumed) : words_(words), at_(consumed) {}

   bool atEnd() const { return at_ == words_.size(); }

   // The next word, without consuming it; empty at the end.
   std::string_view peek() const { return atEnd() ? std::string_view() : words_[at_]; }

   // Takes the next word, or refuses: "missing word after 'show ip', expected …".
   const std::string& next(std::string_view expected);

   // Takes the next word if it is `literal`.
   bool take(std::string_view literal);

   // Takes a decimal number in [lowest, highest].
   std::uint64_t number(std::string_view what, std::uint64_t lowest, std::uint64_t highest);

   // All remaining words, joined by one space; refuses if there are none.
   std::string rest(std::string_view expected);

   // Refuses any remaining words.
   void end() const;

   // Refuses the word just taken: "'x' after 'configure vrf', expected …".
   [[noreturn]] void refuse(std::string_view expected) const;

   // The words before the one just taken, as written.
   std::string before() const;

private:
   std::string joined(std::size_t count) const;

   std::span<const std::string> words_;
   std::size_t at_;
};

// Quotes a word as needed, so that reading the result from a line gives the same word.
std::string quoted(std::string_view word);

}  // namespace softswitch::console
