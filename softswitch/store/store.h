// The tables of the switch on disk: one LMDB environment, one named database per table.
//
// Writes gather in one transaction that is opened by the first of them and ended by commit(), which the
// owner of the activity lock calls just before the lock becomes free. So everything that was done under one
// outermost lock is in the store together or not at all.
//
// Room for a write is made before it happens: the file is a sparse map of fixed size whose blocks are
// allocated in steps ahead of the writes. A full disk is therefore a StoreError (noSpace) from the write that
// does not fit, which has then changed nothing, and never a fault in the map. Deletes may use a reserve that
// other writes may not, so that a full table can be emptied.
//
// What goes wrong in spite of that (a commit that fails, a disk that breaks) ends the process with words on
// standard error, before anything was acknowledged.
//
// Thread-safety: none of its own; every call is made under the activity lock.
#pragma once

#include <lmdb.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "softswitch/store/error.h"
#include "softswitch/store/state_directory.h"

namespace softswitch::store {

struct StoreOptions {
   std::filesystem::path directory;
   Durability durability = Durability::process;
   std::size_t mapBytes = std::size_t{16} << 30;   // upper bound of the file; address space, not disk
   std::size_t stepBytes = std::size_t{16} << 20;  // blocks are allocated this much at a time
   std::string bootId = StateDirectory::machineBootId();
   LogLine log;  // may be empty
};

class Store {
public:
   static constexpr std::size_t maxKeyBytes = 500;

   // A table's place in the store.
   struct Database {
      std::size_t index;
   };

   // Opens or creates. Throws StoreError and has then changed nothing in the directory.
   explicit Store(StoreOptions options);
   // Commits what is open, but leaves the directory marked as in use: only closeClean() makes the stop clean.
   ~Store();
   Store(const Store&) = delete;
   Store& operator=(const Store&) = delete;

   const std::filesystem::path& path() const { return directory_.path(); }

   // The database of that name; the first write to it creates it. For the start, before the first span.
   Database open(std::string_view name);

   // Replaces the row of `key`. Throws StoreError (noSpace, tooLong).
   void put(Database db, std::string_view key, std::string_view row);
   // Removes the row of `key`, if it is there. Throws StoreError (noSpace).
   void del(Database db, std::string_view key);
   // Removes all rows.
   void clear(Database db);

   // For an operation of several writes that happens as a whole or not at all: throws StoreError (noSpace)
   // unless `rows` puts and deletes fit, whose keys and rows have `bytes` bytes together. If nothing else is
   // written in between, none of them is then refused for lack of space. `shrinks` as for a delete.
   void requireRoom(std::size_t rows, std::size_t bytes, bool shrinks = false);

   // For a table that writes its rows at the end of the span but must refuse them before: sets room aside for
   // one row, until the span ends; `shrinks` as for a delete. Throws StoreError (noSpace).
   void reserve(std::size_t rowBytes, bool shrinks = false) {
      if (!marked_) [[unlikely]]
         mark();
      const auto pages = worstPages(1, rowBytes);
      makeRoom(pages, shrinks ? 0 : spare_);
      reserved_ += pages;
   }
   // put() and del() of a row that room was set aside for; they do not throw.
   void putReserved(Database db, std::string_view key, std::string_view row) noexcept;
   void delReserved(Database db, std::string_view key) noexcept;

   // Hands every row of `db` in key order to `row`, outside a span. A StoreError (damaged) that `row` throws
   // comes out with the directory's and the table's name in it.
   void scan(Database db, const std::function<void(std::string_view key, std::string_view row)>& row) const;

   // For a table that writes late: called by commit() before it commits; must not throw.
   using Flush = std::function<void()>;
   std::size_t beforeCommit(Flush flush) {
      flushes_.push_back(std::move(flush));
      return flushes_.size() - 1;
   }
   void forgetBeforeCommit(std::size_t registration) { flushes_[registration] = nullptr; }

   bool inSpan() const { return txn_ != nullptr; }
   // Ends the span. Costs nothing when nothing was written and no flush has anything.
   void commit() noexcept;
   // For operations over very many rows: ends the span when it has grown large. They are the only ones that
   // a kill may leave half done.
   void commitIfLarge() {
      if (writes_ >= largeSpan || room_ < spare_) commit();
   }

   // Syncs, closes and marks the directory clean. Nothing may be called afterwards. Throws StoreError.
   void closeClean();

   // For `show`: bytes of the file that hold rows or may hold them again, and transactions so far.
   std::size_t bytesInUse() const;
   std::uint64_t commits() const { return commits_; }

   // What a Trouble::damaged found while reading table rows is to be told as.
   StoreError damaged(std::string_view what) const;

private:
   static constexpr std::size_t largeSpan = 4096;

   struct Slot {
      std::string name;
      MDB_dbi dbi = 0;
      bool there = false;
   };

   void openEnvironment();
   void close() noexcept;
   MDB_dbi handle(Database db);
   void mark();
   void begin();
   void write(Database db, std::string_view key, std::string_view row) noexcept;
   void remove(Database db, std::string_view key) noexcept;
   std::size_t worstPages(std::size_t rows, std::size_t bytes) const {
      return rows * pagesPerWrite + bytes / pageBytes_ * 2;
   }
   void makeRoom(std::size_t pages, std::size_t spare) {
      if (pages + spare > room_) [[unlikely]]
         findRoom(pages, spare, pages <= 2 * pagesPerWrite);
      room_ -= pages;
      taken_ += pages;
   }
   // `scattered`: any free page will do, no run of them is needed.
   void findRoom(std::size_t pages, std::size_t spare, bool scattered);
   std::size_t pagesNow() const;
   std::size_t reach(MDB_txn* txn) const;
   std::size_t allocatedRoom() const;
   std::size_t reusablePages();
   bool allocateUpTo(std::size_t pages);
   void openCheck(int rc) const;
   void check(int rc, const char* what) const noexcept;
   [[noreturn]] void fatal(int rc, const char* what) const noexcept;

   // A write copies each page on its way down, may split each and the root, and adds to the free list.
   static constexpr std::size_t pagesPerWrite = 24;

   StoreOptions options_;
   StateDirectory directory_;
   MDB_env* env_ = nullptr;
   MDB_txn* txn_ = nullptr;
   int fd_ = -1;
   std::uint64_t bytesFound_ = 0;  // length of the data file before it was opened
   bool marked_ = false;           // the directory is marked as in use
   std::vector<Slot> databases_;
   std::vector<Flush> flushes_;
   std::size_t pageBytes_ = 4096;
   std::size_t allocatedPages_ = 0;  // blocks exist for this many from the start of the file
   std::size_t room_ = 0;            // pages that writes may still take, counted down by the worst case
   std::size_t spare_ = 256;         // pages that only deletes may take
   std::size_t reserved_ = 0;        // pages set aside in this span, not in room_
   std::size_t basePages_ = 0;       // the file's reach when the span began
   std::size_t taken_ = 0;           // worst case of what the span has taken since
   std::size_t writes_ = 0;          // of this span
   std::uint64_t commits_ = 0;
};

}  // namespace softswitch::store
