#include "softswitch/console/words.h"

#include <charconv>

namespace softswitch::console {
namespace {

bool isBlank(char c) {
   return c == ' ' || c == '\t';
}

// RETURNS: the bytes of the UTF-8 character that `text` starts with; 0 if its first bytes are not valid
// UTF-8.
std::size_t utf8Length(std::string_view text) {
   const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
   const unsigned char lead = byte(0);
   if (lead < 0x80) return 1;
   const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
   if (lead < 0xc2 || lead > 0xf4 || text.size() < length) return 0;
   for (std::size_t i = 1; i < length; ++i) {
      if ((byte(i) & 0xc0) != 0x80) return 0;
   }
   const bool overlongOrSurrogateOrTooHigh =
        (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xed && byte(1) > 0x9f) ||
        (lead == 0xf0 && byte(1) < 0x90) || (lead == 0xf4 && byte(1) > 0x8f);
   return overlongOrSurrogateOrTooHigh ? 0 : length;
}

struct Token {
   std::string text;
   bool quoted = false;

   bool is(std::string_view bare) const { return !quoted && text == bare; }
};

// `at` is after the opening quote and is moved past the closing one.
void readQuoted(std::string_view line, std::size_t& at, std::string& into) {
   const auto opened = at;
   while (at < line.size() && line[at] != '"') {
      if (line[at] == '\\') {
         if (at + 1 == line.size() || (line[at + 1] != '"' && line[at + 1] != '\\')) {
            CommandError::raise("'\\' at column {}, expected \\\" or \\\\ within quotes", at + 1);
         }
         ++at;
      }
      into += line[at++];
   }
   if (at == line.size())
      CommandError::raise("'\"' at column {} is not closed, expected a second '\"'", opened);
   ++at;
}

std::vector<Token> tokens(std::string_view line) {
   std::vector<Token> result;
   std::size_t at = 0;
   while (true) {
      while (at < line.size() && isBlank(line[at]))
         ++at;
      if (at == line.size()) return result;
      Token token;
      if (line[at] == '|') {
         ++at;
         token.text = "|";
      } else {
         while (at < line.size() && !isBlank(line[at]) && line[at] != '|') {
            if (line[at] == '"') {
               token.quoted = true;
               readQuoted(line, ++at, token.text);
            } else {
               token.text += line[at++];
            }
         }
      }
      result.push_back(std::move(token));
   }
}

}  // namespace

void checkCharacters(std::string_view text) {
   for (std::size_t i = 0; i < text.size();) {
      const auto c = static_cast<unsigned char>(text[i]);
      const auto length = utf8Length(text.substr(i));
      if (length == 0) CommandError::raise("byte 0x{:02x} at column {}, expected UTF-8 text", c, i + 1);
      if ((c < 0x20 && c != '\t') || c == 0x7f) {
         CommandError::raise("control character 0x{:02x} at column {}, expected printable text", c, i + 1);
      }
      i += length;
   }
}

CommandLine parseLine(std::string_view line) {
   checkCharacters(line);
   auto all = tokens(line);
   CommandLine result;
   for (std::size_t i = 0; i < all.size(); ++i) {
      if (!all[i].is("|")) continue;
      if (i + 1 == all.size()) CommandError::raise("missing word after '|', expected json");
      if (!all[i + 1].is("json")) CommandError::raise("'{}' after '|', expected json", all[i + 1].text);
      if (i + 2 != all.size()) {
         CommandError::raise("'{}' after '| json', expected the end of the line", all[i + 2].text);
      }
      if (i == 0) CommandError::raise("'| json' without a command, expected one before it");
      result.form = Form::json;
      all.resize(i);
   }
   if (all.size() > 2 && all.front().is("show") && all.back().is("json")) {
      result.form = Form::json;
      all.pop_back();
   }
   for (auto& token : all)
      result.words.push_back(std::move(token.text));
   return result;
}

const std::string& Args::next(std::string_view expected) {
   if (atEnd()) CommandError::raise("missing word after '{}', expected {}", joined(at_), expected);
   return words_[at_++];
}

bool Args::take(std::string_view literal) {
   if (atEnd() || words_[at_] != literal) return false;
   ++at_;
   return true;
}

std::uint64_t Args::number(std::string_view what, std::uint64_t lowest, std::uint64_t highest) {
   const auto expected = fmt::format("{} ({} to {})", what, lowest, highest);
   const auto& word = next(expected);
   std::uint64_t value = 0;
   const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
   if (error != std::errc{} || end != word.data() + word.size() || value < lowest || value > highest) {
      refuse(expected);
   }
   return value;
}

std::string Args::rest(std::string_view expected) {
   std::string result = next(expected);
   while (!atEnd())
      result += ' ' + words_[at_++];
   return result;
}

void Args::end() const {
   if (!atEnd())
      CommandError::raise("'{}' after '{}', expected the end of the line", words_[at_], joined(at_));
}

void Args::refuse(std::string_view expected) const {
   CommandError::raise("'{}' after '{}', expected {}", words_[at_ - 1], before(), expected);
}

std::string Args::before() const {
   return joined(at_ - 1);
}

std::string Args::joined(std::size_t count) const {
   std::string result;
   for (const auto& word : words_.first(count)) {
      if (!result.empty()) result += ' ';
      result += console::quoted(word);
   }
   return result;
}

std::string quoted(std::string_view word) {
   if (!word.empty() && word.find_first_of(" \t|\"\\") == std::string_view::npos && word != "json") {
      return std::string(word);
   }
   std::string result = "\"";
   for (char c : word) {
      if (c == '"' || c == '\\') result += '\\';
      result += c;
   }
   return result + '"';
}

}  // namespace softswitch::console
