// Compact binary form of keys and rows.
//
// Numbers in keys are big-endian, so that byte order is numeric order. Lengths, and small numbers in rows,
// are base-128 varints. A text is preceded by its length, so keys that begin with a text sort by length first
// and then by bytes.
//
// Thread-safety: a Writer or Reader belongs to one thread.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "softswitch/store/error.h"

namespace softswitch::store {

// Appends to a buffer that its owner clears and reuses.
class Writer {
public:
   explicit Writer(std::string& out) : out_(out) {}

   void u8(std::uint8_t v) { out_.push_back(static_cast<char>(v)); }
   void boolean(bool v) { u8(v ? 1 : 0); }
   void u16(std::uint16_t v) { bigEndian<2>(v); }
   void u32(std::uint32_t v) { bigEndian<4>(v); }
   void u64(std::uint64_t v) { bigEndian<8>(v); }
   void varint(std::uint64_t v) {
      for (; v >= 0x80; v >>= 7)
         u8(static_cast<std::uint8_t>(v | 0x80));
      u8(static_cast<std::uint8_t>(v));
   }
   // The bytes without a length: the reader must know it from what comes before.
   void raw(std::string_view v) { out_.append(v); }
   void text(std::string_view v) {
      varint(v.size());
      raw(v);
   }

private:
   template <int bytes>
   void bigEndian(std::uint64_t v) {
      char b[bytes];
      for (int i = 0; i < bytes; ++i)
         b[i] = static_cast<char>(v >> (8 * (bytes - 1 - i)));
      out_.append(b, bytes);
   }

   std::string& out_;
};

// Every read is checked against the end.
// THROWS: StoreError (damaged) if the row is too short, or if bytes are left when end() is called.
class Reader {
public:
   explicit Reader(std::string_view in) : in_(in) {}

   std::uint8_t u8() { return static_cast<std::uint8_t>(take(1)[0]); }
   bool boolean() {
      const auto v = u8();
      if (v > 1) bad();
      return v == 1;
   }
   std::uint16_t u16() { return static_cast<std::uint16_t>(bigEndian<2>()); }
   std::uint32_t u32() { return static_cast<std::uint32_t>(bigEndian<4>()); }
   std::uint64_t u64() { return bigEndian<8>(); }
   std::uint64_t varint() {
      std::uint64_t v = 0;
      for (unsigned shift = 0; shift < 64; shift += 7) {
         const auto b = u8();
         v |= std::uint64_t{b & 0x7fu} << shift;
         if (b < 0x80) return v;
      }
      bad();
   }
   // A varint that must fit T.
   template <class T>
   T number() {
      const auto v = varint();
      if (v > static_cast<std::uint64_t>(static_cast<T>(~T{}))) bad();
      return static_cast<T>(v);
   }
   std::string_view raw(std::size_t count) { return take(count); }
   std::string_view text() { return take(varint()); }
   bool atEnd() const { return in_.empty(); }
   void end() const {
      if (!in_.empty()) bad();
   }

private:
   [[noreturn]] static void bad() { throw StoreError(Trouble::damaged, "a row does not decode"); }
   std::string_view take(std::uint64_t count) {
      if (count > in_.size()) bad();
      const auto v = in_.substr(0, count);
      in_.remove_prefix(count);
      return v;
   }
   template <int bytes>
   std::uint64_t bigEndian() {
      const auto b = take(bytes);
      std::uint64_t v = 0;
      for (int i = 0; i < bytes; ++i)
         v = v << 8 | static_cast<std::uint8_t>(b[static_cast<std::size_t>(i)]);
      return v;
   }

   std::string_view in_;
};

// The checksum over key and row that follows every row in the store. It detects an overwritten row.
inline std::uint32_t rowSum(std::string_view key, std::string_view row) {
   std::uint64_t h = 0x9e3779b97f4a7c15u ^ (key.size() << 32 | row.size());
   const auto mix = [&h](std::string_view s) {
      while (!s.empty()) {
         std::uint64_t w = 0;
         const auto n = s.size() < 8 ? s.size() : 8;
         std::memcpy(&w, s.data(), n);
         h = (h ^ w) * 0xff51afd7ed558ccdu;
         h ^= h >> 32;
         s.remove_prefix(n);
      }
   };
   mix(key);
   mix(row);
   return static_cast<std::uint32_t>(h ^ h >> 29);
}

}  // namespace softswitch::store
