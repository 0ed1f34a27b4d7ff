#include "softswitch/console/output.h"

namespace softswitch::console {
namespace {

constexpr std::size_t chunkBytes = 32 * 1024;

// Stored text need not be UTF-8, but the console must still show it.
std::string dumped(const Json& value) {
   return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Columns count characters, not bytes.
std::size_t displayWidth(std::string_view text) {
   std::size_t width = 0;
   for (unsigned char c : text)
      width += (c & 0xc0) != 0x80;
   return width;
}

void appendPadded(std::string& into, std::string_view text, std::size_t width) {
   into += text;
   const auto shown = displayWidth(text);
   into.append(shown < width ? width - shown : 0, ' ');
}

}  // namespace

std::string cellText(const Json& value) {
   if (value.is_null()) return "-";
   if (value.is_string()) return value.get<std::string>();
   if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
   if (value.is_array()) {
      std::string text;
      for (const auto& item : value) {
         if (!text.empty()) text += ", ";
         text += cellText(item);
      }
      return text.empty() ? "-" : text;
   }
   return dumped(value);
}

void Document::listing(std::string_view name, std::vector<Column> columns) {
   section(name);
   inListing_ = true;
   anyRow_ = false;
   columns_ = std::move(columns);
   if (form_ == Form::json) {
      buffer_ += '[';
      return;
   }
   for (std::size_t i = 0; i < columns_.size(); ++i) {
      auto& column = columns_[i];
      column.width = std::max(column.width, displayWidth(column.title));
      if (i + 1 == columns_.size()) column.width = 0;
      appendPadded(buffer_, column.title, column.width);
      buffer_ += i + 1 == columns_.size() ? "\n" : "  ";
   }
}

void Document::row(const Json& row) {
   if (form_ == Form::json) {
      buffer_ += anyRow_ ? ",\n" : "\n";
      buffer_ += dumped(row);
   } else {
      for (std::size_t i = 0; i < columns_.size(); ++i) {
         const auto member = row.find(columns_[i].key);
         const auto text = member == row.end() ? std::string("-") : cellText(*member);
         appendPadded(buffer_, text, columns_[i].width);
         buffer_ += i + 1 == columns_.size() ? "\n" : "  ";
      }
   }
   anyRow_ = true;
   flushIfLong();
}

void Document::fields(std::string_view name, const Json& object) {
   section(name);
   if (form_ == Form::json) {
      buffer_ += dumped(object);
   } else {
      for (const auto& item : object.items()) {
         buffer_ += item.key();
         buffer_ += ": ";
         buffer_ += cellText(item.value());
         buffer_ += '\n';
      }
   }
   flushIfLong();
}

void Document::finish() {
   endListing();
   if (form_ == Form::json) buffer_ += anySection_ ? "}\n" : "{}\n";
   if (!buffer_.empty()) out_.write(buffer_);
   buffer_.clear();
}

void Document::section(std::string_view name) {
   endListing();
   if (form_ == Form::json) {
      buffer_ += anySection_ ? ",\n" : "{";
      buffer_ += dumped(Json(name));
      buffer_ += ": ";
   } else if (headings_) {
      if (anySection_) buffer_ += '\n';
      buffer_ += fmt::format("---- {} ----\n", name);
   }
   anySection_ = true;
}

void Document::endListing() {
   if (inListing_ && form_ == Form::json) buffer_ += anyRow_ ? "\n]" : "]";
   inListing_ = false;
}

void Document::flushIfLong() {
   if (buffer_.size() < chunkBytes) return;
   out_.write(buffer_);
   buffer_.clear();
}

}  // namespace softswitch::console
