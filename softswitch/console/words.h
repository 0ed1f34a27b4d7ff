// A console line taken apart into words, and the reading of arguments from them.
//
// Thread-safety: values without shared state; an Args belongs to one thread.
//
// A line is words separated by blanks and tabs. A word that holds a blank, a '|' or a '"' is written
// in double quotes, in which \" stands for a quote and \\ for a backslash. A line is UTF-8 without
// control characters. "| json" at its end, or for show commands a bare last word json, asks for the
// JSON form; a quoted "json" is an ordinary word.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace softswitch::console {

// A command that cannot be carried out as written; what() is one line with the offending word and what was
// expected.
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

// Throws CommandError unless the text is UTF-8 without control characters; a tab may stand in it.
void checkCharacters(std::string_view text);

// Throws CommandError. An empty or blank line has no words.
CommandLine parseLine(std::string_view line);

// A cursor over the words behind a command's name. Every read says what was expected, for the refusal.
class Args {
public:
   // The first `consumed` words are the command's name.
   Args(std::span<const std::string> words, std::size_t consumed) : words_(words), at_(consumed) {}

   bool atEnd() const { return at_ == words_.size(); }

   // The next word without taking it; empty at the end.
   std::string_view peek() const { return atEnd() ? std::string_view() : words_[at_]; }

   // Takes the next word, or refuses: "missing word after 'show ip', expected …".
   const std::string& next(std::string_view expected);

   // Takes the next word if it is `literal`.
   bool take(std::string_view literal);

   // Takes a decimal number in [lowest, highest].
   std::uint64_t number(std::string_view what, std::uint64_t lowest, std::uint64_t highest);

   // All words that are left, joined by one blank; refuses when there is none.
   std::string rest(std::string_view expected);

   // Refuses what is left over.
   void end() const;

   // Refuses the word just taken: "'x' after 'configure vrf', expected …".
   [[noreturn]] void refuse(std::string_view expected) const;

   // The words before the one just taken, as they were written.
   std::string before() const;

private:
   std::string joined(std::size_t count) const;

   std::span<const std::string> words_;
   std::size_t at_;
};

// A word as it must be written on a line to be read back the same.
std::string quoted(std::string_view word);

}  // namespace softswitch::console
