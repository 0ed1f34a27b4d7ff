// The tables of the switch on disk: one LMDB environment, one named database per table.
//
// Writes gather in one transaction, a span. The first write opens it and commit() ends it. The owner of the
// activity lock calls commit() just before it releases the lock, so everything done under one outermost lock
// is stored together or not at all.
//
// Room for a write is allocated before the write: the file is a sparse map of fixed size whose blocks are
// allocated in steps ahead of the writes. On a full disk the write that does not fit therefore throws
// StoreError (noSpace) and changes nothing; it never faults in the map. What takes no more room than before,
// deletes above all, may use a reserve that other writes may not, so that a full table can be emptied.
//
// Any other failure (of a commit, of the disk) ends the process with a message on standard error before
// anything is acknowledged.
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

   // Identifies a table.
   struct Database {
      std::size_t index;
   };

   // Opens or creates the store.
   // THROWS: StoreError; the directory is then unchanged.
   explicit Store(StoreOptions options);
   // Commits the open span but leaves the directory marked as in use: only closeClean() makes a clean stop.
   ~Store();
   Store(const Store&) = delete;
   Store& operator=(const Store&) = delete;

   const std::filesystem::path& path() const { return directory_.path(); }

   // RETURNS: the database of that name. The first write to it creates it.
   // REQUIRES: no span has begun yet.
   Database open(std::string_view name);

   // Inserts or replaces the row of `key`. `shrinks` as for a delete: for a row that is no larger than the
   // one it replaces.
   // THROWS: StoreError (noSpace, tooLong, unusable).
   void put(Database db, std::string_view key, std::string_view row, bool shrinks = false);
   // Removes the row of `key`, if it exists.
   // THROWS: StoreError (noSpace, unusable).
   void del(Database db, std::string_view key);
   // Removes all rows.
   void clear(Database db);

   // For an operation of several writes that must happen as a whole or not at all: checks that `rows` puts
   // and deletes fit, whose keys and rows have `bytes` bytes together. If nothing else is written in between,
   // none of them fails for lack of space. `shrinks` allows the reserve for deletes.
   // THROWS: StoreError (noSpace) if they do not fit.
   void requireRoom(std::size_t rows, std::size_t bytes, bool shrinks = false);

   // For a table that writes its rows at the end of the span but must refuse them earlier: reserves room for
   // one row until the span ends. `shrinks` as for requireRoom().
   // THROWS: StoreError (noSpace).
   void reserve(std::size_t rowBytes, bool shrinks = false) {
      if (!marked_) [[unlikely]]
         mark();
      const auto pages = pagesFor(rowBytes);
      makeRoom(pages, shrinks ? 0 : spare_);
      reserved_ += pages;
   }
   // RETURNS: the pages that reserve() takes.
   std::size_t pagesFor(std::size_t rowBytes) const { return worstPages(1, rowBytes); }
   // put() and del() of a row whose room is reserved.
   void putReserved(Database db, std::string_view key, std::string_view row) noexcept;
   void delReserved(Database db, std::string_view key) noexcept;

   // Passes every row of `db` to `row` in key order. A StoreError (damaged) from `row` leaves with the names
   // of the directory and the table added.
   // REQUIRES: no span is open.
   void scan(Database db, const std::function<void(std::string_view key, std::string_view row)>& row) const;

   // For a table that writes late: commit() calls `flush` first. `flush` must not throw.
   using Flush = std::function<void()>;
   std::size_t beforeCommit(Flush flush) {
      flushes_.push_back(std::move(flush));
      return flushes_.size() - 1;
   }
   void forgetBeforeCommit(std::size_t registration) { flushes_[registration] = nullptr; }

   bool inSpan() const { return txn_ != nullptr; }
   // Ends the span. Almost free if nothing was written and no flush has work.
   void commit() noexcept;
   // For operations over very many rows: ends the span if it has grown large. Only such an operation can be
   // half done after a kill.
   void commitIfLarge() {
      if (writes_ >= largeSpan || room_ < spare_) commit();
   }

   // Syncs, closes and marks the directory clean. Later writes are refused.
   // THROWS: StoreError.
   void closeClean();

   // For `show`: the bytes of the file that hold rows or are reusable, and the transactions so far.
   std::size_t bytesInUse() const;
   std::uint64_t commits() const { return commits_; }

   // RETURNS: the error to throw for damage in table rows; it names the directory.
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
   // `scattered`: the pages need not be adjacent.
   void findRoom(std::size_t pages, std::size_t spare, bool scattered);
   std::size_t pagesNow() const;
   std::size_t reach(MDB_txn* txn) const;
   std::size_t allocatedRoom() const;
   std::size_t reusablePages();
   bool allocateUpTo(std::size_t pages);
   void openCheck(int rc) const;
   void check(int rc, const char* what) const noexcept;
   [[noreturn]] void fatal(int rc, const char* what) const noexcept;

   // A write copies each page on its path, may split each and the root, and adds to the free list.
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
   std::size_t basePages_ = 0;       // pages in use when the span began
   std::size_t taken_ = 0;           // pages taken by the span since, in the worst case
   std::size_t writes_ = 0;          // of this span
   std::uint64_t commits_ = 0;
};

}  // namespace softswitch::store
