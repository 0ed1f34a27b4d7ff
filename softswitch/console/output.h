// What commands write to: a sink for text, and a document that is rendered as tables or JSON.
//
// Thread-safety: one thread per object. An Output may wait for a slow reader, so no thread may call it with
// the SDK's lock held, unless it never waits (StringOutput).
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "softswitch/console/words.h"

namespace softswitch::console {

// Thrown by Output::write when the reader is gone or the console stops; it ends the command.
class OutputClosed : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

class Output {
public:
   virtual ~Output() = default;

   // Writes all of `text`; may wait for the reader.
   virtual void write(std::string_view text) = 0;
};

// Keeps everything in memory.
class StringOutput final : public Output {
public:
   void write(std::string_view text) override { text_ += text; }
   const std::string& text() const { return text_; }

private:
   std::string text_;
};

// Keeps the order of insertion.
using Json = nlohmann::ordered_json;

struct Column {
   std::string_view title;
   std::string_view key;   // the row's member that the column shows
   std::size_t width = 0;  // at least this many characters
};

// The output of one command: sections, each a listing of rows or a few named fields. JSON output is one
// object with a member per section. Text output is tables and "name: value" lines, with headings if there are
// several sections. Rows are written in chunks, never collected. finish() ends the document; without it
// (after an error) the output is truncated and an error follows.
class Document {
public:
   // With `headings` each section's text begins with its name.
   Document(Output& out, Form form, bool headings = false) : out_(out), form_(form), headings_(headings) {}

   Form form() const { return form_; }

   // Begins a section of rows.
   void listing(std::string_view name, std::vector<Column> columns);
   void row(const Json& row);

   // A complete section with one object; in text form one "key: value" line per member.
   void fields(std::string_view name, const Json& object);

   void finish();

private:
   void section(std::string_view name);
   void endListing();
   void flushIfLong();

   Output& out_;
   Form form_;
   bool headings_;
   bool anySection_ = false;
   bool inListing_ = false;
   bool anyRow_ = false;
   std::vector<Column> columns_;
   std::string buffer_;
};

// The text of a value in a table: a string as it is, a boolean as yes or no, a list joined by ", ", null as
// "-".
std::string cellText(const Json& value);

}  // namespace softswitch::console
