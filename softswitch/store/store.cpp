#include "softswitch/store/store.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>

#include "softswitch/store/codec.h"
#include "softswitch/store/verify.h"

namespace softswitch::store {
namespace {

constexpr unsigned maxDatabases = 128;
constexpr std::size_t sumBytes = sizeof(std::uint32_t);
constexpr std::size_t rowOverhead = 32;  // per row in a page, upper bound
constexpr std::size_t fewRows = 64;

// LMDB's own two tables.
constexpr MDB_dbi freeList = 0;
constexpr MDB_dbi tableOfTables = 1;

std::size_t treePages(const MDB_stat& s) {
   return s.ms_branch_pages + s.ms_leaf_pages + s.ms_overflow_pages;
}

}  // namespace

Store::Store(StoreOptions options)
     : options_(std::move(options)), directory_(options_.directory, options_.bootId, options_.log) {
   try {
      openEnvironment();
   } catch (...) {
      close();
      throw;
   }
}

Store::~Store() {
   if (env_ == nullptr) return;
   commit();
   close();
}

void Store::openEnvironment() {
   const auto facts = verifyDataFile(directory_.dataFile());
   bytesFound_ = facts.bytes;
   if (facts.bytes != 0) pageBytes_ = facts.pageBytes;
   openCheck(mdb_env_create(&env_));
   openCheck(mdb_env_set_maxdbs(env_, maxDatabases));
   openCheck(mdb_env_set_mapsize(env_, std::max<std::size_t>(options_.mapBytes, facts.pages * pageBytes_)));
   unsigned flags = MDB_NOSUBDIR | MDB_NOLOCK | MDB_NOTLS;
   if (options_.durability == Durability::process) flags |= MDB_WRITEMAP | MDB_NOSYNC | MDB_NOMETASYNC;
   openCheck(mdb_env_open(env_, directory_.dataFile().c_str(), flags, 0644));
   openCheck(mdb_env_get_fd(env_, &fd_));
   MDB_stat stat;
   openCheck(mdb_env_stat(env_, &stat));
   pageBytes_ = stat.ms_psize;
   // On a full disk the switch still starts, so that something can be deleted.
   if (!allocateUpTo(pagesNow() + spare_) && !allocateUpTo(pagesNow())) {
      throw StoreError(Trouble::noSpace,
                       fmt::format("state directory '{}': no space left for its tables", path().string()));
   }
}

// Restores the file's length if nothing was written: a refused open leaves the file as it was.
void Store::close() noexcept {
   if (env_ == nullptr) return;
   if (!marked_ && fd_ >= 0 && bytesFound_ != 0 && ::ftruncate(fd_, static_cast<off_t>(bytesFound_)) != 0) {
      // The longer file has the same contents; only its size differs.
      std::fprintf(stderr, "'%s' keeps its new size: %s\n", directory_.dataFile().c_str(),
                   std::strerror(errno));
   }
   mdb_env_close(env_);
   env_ = nullptr;
}

void Store::openCheck(int rc) const {
   if (rc == 0) return;
   throw StoreError(
        rc == ENOSPC ? Trouble::noSpace : Trouble::unusable,
        fmt::format("state directory '{}' cannot be opened: {}", path().string(), mdb_strerror(rc)));
}

void Store::check(int rc, const char* what) const noexcept {
   if (rc == 0) [[likely]]
      return;
   fatal(rc, what);
}

void Store::fatal(int rc, const char* what) const noexcept {
   std::fprintf(stderr,
                "state directory '%s': %s failed: %s. The process ends before anything is acknowledged that "
                "is not stored.\n",
                path().c_str(), what, mdb_strerror(rc));
   std::fflush(stderr);
   // No destructor may run: other threads are running and would acknowledge.
   std::_Exit(EXIT_FAILURE);
}

Store::Database Store::open(std::string_view name) {
   databases_.push_back({.name = std::string(name)});
   auto& slot = databases_.back();
   MDB_txn* read = nullptr;
   openCheck(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &read));
   const int rc = mdb_dbi_open(read, slot.name.c_str(), 0, &slot.dbi);
   // A handle opened in a transaction is kept only if the transaction is committed.
   openCheck(mdb_txn_commit(read));
   if (rc != MDB_NOTFOUND) {
      openCheck(rc);
      slot.there = true;
   }
   return Database{databases_.size() - 1};
}

MDB_dbi Store::handle(Database db) {
   auto& slot = databases_[db.index];
   if (!slot.there) [[unlikely]] {
      check(mdb_dbi_open(txn_, slot.name.c_str(), MDB_CREATE, &slot.dbi), "creation of a table");
      slot.there = true;
   }
   return slot.dbi;
}

// The directory is marked as in use before the first write to it.
void Store::mark() {
   if (env_ == nullptr) {
      throw StoreError(
           Trouble::unusable,
           fmt::format("state directory '{}' is closed: the switch has stopped", path().string()));
   }
   if (options_.durability == Durability::sync && directory_.mustSync()) check(mdb_env_sync(env_, 1), "sync");
   directory_.markInUse(options_.durability);
   marked_ = true;
}

void Store::begin() {
   check(mdb_txn_begin(env_, nullptr, 0, &txn_), "begin of a transaction");
   MDB_envinfo info;
   check(mdb_env_info(env_, &info), "query of the environment");
   basePages_ = info.me_last_pgno + 1;
}

void Store::put(Database db, std::string_view key, std::string_view row, bool shrinks) {
   if (!marked_) [[unlikely]]
      mark();
   if (key.size() > maxKeyBytes) {
      throw StoreError(Trouble::tooLong, fmt::format("a key of {} bytes is longer than the store takes ({})",
                                                     key.size(), maxKeyBytes));
   }
   makeRoom(worstPages(1, row.size()), shrinks ? 0 : spare_);
   if (txn_ == nullptr) begin();
   write(db, key, row);
}

void Store::putReserved(Database db, std::string_view key, std::string_view row) noexcept {
   if (key.size() > maxKeyBytes) fatal(MDB_BAD_VALSIZE, "write of a row");
   if (txn_ == nullptr) begin();
   write(db, key, row);
}

void Store::write(Database db, std::string_view key, std::string_view row) noexcept {
   MDB_val k{key.size(), const_cast<char*>(key.data())};
   MDB_val v{row.size() + sumBytes, nullptr};
   check(mdb_put(txn_, handle(db), &k, &v, MDB_RESERVE), "write of a row");
   std::memcpy(v.mv_data, row.data(), row.size());
   const auto sum = rowSum(key, row);
   std::memcpy(static_cast<char*>(v.mv_data) + row.size(), &sum, sumBytes);
   ++writes_;
}

void Store::del(Database db, std::string_view key) {
   if (key.size() > maxKeyBytes || !databases_[db.index].there) return;
   if (!marked_) [[unlikely]]
      mark();
   makeRoom(worstPages(1, 0), 0);
   if (txn_ == nullptr) begin();
   remove(db, key);
}

void Store::delReserved(Database db, std::string_view key) noexcept {
   if (key.size() > maxKeyBytes || !databases_[db.index].there) return;
   if (txn_ == nullptr) begin();
   remove(db, key);
}

void Store::remove(Database db, std::string_view key) noexcept {
   MDB_val k{key.size(), const_cast<char*>(key.data())};
   const int rc = mdb_del(txn_, handle(db), &k, nullptr);
   if (rc != MDB_NOTFOUND) check(rc, "removal of a row");
   ++writes_;
}

void Store::clear(Database db) {
   if (!databases_[db.index].there) return;
   if (!marked_) mark();
   const bool fresh = txn_ == nullptr;
   if (fresh) {
      makeRoom(worstPages(1, 0), 0);
      begin();
   }
   MDB_stat stat;
   check(mdb_stat(txn_, handle(db), &stat), "query of a table");
   // The list of freed pages is written too.
   makeRoom(worstPages(2, 0) + treePages(stat) / 128, 0);
   check(mdb_drop(txn_, handle(db), 0), "removal of all rows");
   writes_ += treePages(stat);
}

void Store::scan(Database db, const std::function<void(std::string_view, std::string_view)>& row) const {
   const auto& slot = databases_[db.index];
   if (!slot.there) return;
   MDB_txn* read = nullptr;
   openCheck(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &read));
   MDB_cursor* cursor = nullptr;
   struct Guard {
      MDB_txn* txn;
      MDB_cursor*& cursor;
      ~Guard() {
         if (cursor != nullptr) mdb_cursor_close(cursor);
         mdb_txn_abort(txn);
      }
   } guard{read, cursor};
   openCheck(mdb_cursor_open(read, slot.dbi, &cursor));
   MDB_val k, v;
   int rc = 0;
   for (rc = mdb_cursor_get(cursor, &k, &v, MDB_FIRST); rc == 0;
        rc = mdb_cursor_get(cursor, &k, &v, MDB_NEXT)) {
      const std::string_view key(static_cast<const char*>(k.mv_data), k.mv_size);
      const std::string_view data(static_cast<const char*>(v.mv_data), v.mv_size);
      if (data.size() < sumBytes)
         throw damaged(fmt::format("table '{}' has a row that is too short", slot.name));
      try {
         row(key, data.substr(0, data.size() - sumBytes));
      } catch (const StoreError& e) {
         if (e.trouble() != Trouble::damaged) throw;
         throw damaged(fmt::format("table '{}': {}", slot.name, e.what()));
      }
   }
   if (rc != MDB_NOTFOUND) openCheck(rc);
}

void Store::commit() noexcept {
   for (const auto& flush : flushes_) {
      if (flush) flush();
   }
   if (txn_ == nullptr) {
      taken_ = reserved_ = 0;
      return;
   }
   auto* txn = txn_;
   txn_ = nullptr;
   writes_ = 0;
   taken_ = 0;
   reserved_ = 0;
   ++commits_;
   check(mdb_txn_commit(txn), "commit");
}

void Store::closeClean() {
   commit();
   if (const int rc = mdb_env_sync(env_, 1); rc != 0) {
      throw StoreError(Trouble::unusable, fmt::format("state directory '{}' cannot be synced: {}",
                                                      path().string(), mdb_strerror(rc)));
   }
   // Cuts off the map's unused tail.
   if (::ftruncate(fd_, static_cast<off_t>(pagesNow() * pageBytes_)) != 0 || ::fsync(fd_) != 0) {
      throw StoreError(Trouble::unusable, fmt::format("state directory '{}' cannot be synced: {}",
                                                      path().string(), std::strerror(errno)));
   }
   marked_ = false;
   mdb_env_close(env_);
   env_ = nullptr;
   room_ = allocatedPages_ = 0;
   directory_.markClean();
}

std::size_t Store::bytesInUse() const {
   return env_ == nullptr ? 0 : pagesNow() * pageBytes_;
}

StoreError Store::damaged(std::string_view what) const {
   return {Trouble::damaged, fmt::format("state directory '{}' is damaged: {}", path().string(), what)};
}

// An upper bound on the pages, from the start of the file, that the open span may have used.
std::size_t Store::pagesNow() const {
   MDB_envinfo info;
   check(mdb_env_info(env_, &info), "query of the environment");
   const std::size_t committed = info.me_last_pgno + 1;
   return txn_ == nullptr ? committed : basePages_ + std::min(taken_, reach(txn_));
}

// A span copies a page only once, so it cannot have taken more pages than its tables have now; twice as many,
// for pages that it has made and freed again.
std::size_t Store::reach(MDB_txn* txn) const {
   std::size_t reach = 64;
   MDB_stat stat;
   const auto add = [&](MDB_dbi dbi) {
      check(mdb_stat(txn, dbi, &stat), "query of a table");
      reach += 2 * treePages(stat);
   };
   add(freeList);
   add(tableOfTables);
   for (const auto& slot : databases_) {
      if (slot.there) add(slot.dbi);
   }
   return reach;
}

// Pages of the free list that the next transaction may reuse.
std::size_t Store::reusablePages() {
   if (txn_ != nullptr) return 0;
   MDB_envinfo info;
   check(mdb_env_info(env_, &info), "query of the environment");
   MDB_txn* read = nullptr;
   check(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &read), "begin of a transaction");
   MDB_cursor* cursor = nullptr;
   check(mdb_cursor_open(read, freeList, &cursor), "query of the free list");
   std::size_t pages = 0;
   MDB_val k, v;
   while (mdb_cursor_get(cursor, &k, &v, MDB_NEXT) == 0) {
      std::size_t txn = 0, count = 0;
      std::memcpy(&txn, k.mv_data, sizeof txn);
      std::memcpy(&count, v.mv_data, sizeof count);
      if (txn < info.me_last_txnid) pages += count;
   }
   mdb_cursor_close(cursor);
   mdb_txn_abort(read);
   return pages;
}

bool Store::allocateUpTo(std::size_t pages) {
   if (pages <= allocatedPages_) return true;
   const std::size_t bytes = pages * pageBytes_;
   if (bytes > options_.mapBytes) return false;
   const std::size_t done = allocatedPages_ * pageBytes_;
   if (::posix_fallocate(fd_, static_cast<off_t>(done), static_cast<off_t>(bytes - done)) != 0) return false;
   allocatedPages_ = pages;
   return true;
}

void Store::requireRoom(std::size_t rows, std::size_t bytes, bool shrinks) {
   if (!marked_) mark();
   const std::size_t spare = shrinks ? 0 : spare_;
   const std::size_t worst = worstPages(rows, bytes);
   if (worst + spare <= room_) return;
   if (rows <= fewRows) {
      findRoom(worst, spare, true);
      return;
   }
   if (const std::size_t room = allocatedRoom() + reusablePages(); worst + spare <= room) {
      room_ = room;
      return;
   }
   // Most of many rows share pages, so the sum of the worst cases is far too high. Count what the span may
   // reach in the end if each new page of a tree is a quarter full.
   MDB_txn* txn = txn_;
   if (txn == nullptr) check(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn), "begin of a transaction");
   const std::size_t now = reach(txn);
   if (txn_ == nullptr) mdb_txn_abort(txn);
   const std::size_t end = now + 2 * (4 * (bytes + rows * rowOverhead) / pageBytes_ + 64) + pagesPerWrite;
   findRoom(std::min(worst, end - (txn_ == nullptr ? 0 : std::min(taken_, now))), spare, false);
}

std::size_t Store::allocatedRoom() const {
   return allocatedPages_ - std::min(allocatedPages_, pagesNow() + reserved_);
}

void Store::findRoom(std::size_t pages, std::size_t spare, bool scattered) {
   const std::size_t now = pagesNow();
   const std::size_t need = now + reserved_ + pages + spare;
   const std::size_t step = std::max<std::size_t>(options_.stepBytes / pageBytes_, 1);
   // Ahead of need, so that writes near the end of the allocated blocks do not each run this function.
   if (need + step / 4 > allocatedPages_ && !allocateUpTo((need + step / 4) / step * step + step))
      static_cast<void>(allocateUpTo(need));
   std::size_t room = allocatedRoom();
   if (room < pages + spare && scattered) room += reusablePages();
   if (room < pages + spare) {
      throw StoreError(Trouble::noSpace,
                       fmt::format("no space left in state directory '{}' for the write", path().string()));
   }
   room_ = room;
}

}  // namespace softswitch::store
