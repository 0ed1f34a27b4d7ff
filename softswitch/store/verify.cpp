#include "softswitch/store/verify.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include "softswitch/store/codec.h"
#include "softswitch/store/error.h"

namespace softswitch::store {
namespace {

static_assert(std::endian::native == std::endian::little,
              "the data file is read in the machine's byte order");

using Pgno = std::uint64_t;

// The layout of LMDB 0.9's data file (data format version 1).
constexpr std::uint32_t metaMagic = 0xBEEFC0DE;
constexpr std::uint32_t metaVersion = 1;
constexpr Pgno noPage = ~Pgno{0};

constexpr std::uint16_t pageBranch = 0x01;
constexpr std::uint16_t pageLeaf = 0x02;
constexpr std::uint16_t pageOverflow = 0x04;
constexpr std::uint16_t pageMeta = 0x08;

constexpr std::uint16_t nodeBig = 0x01;
constexpr std::uint16_t nodeTable = 0x02;

struct PageHead {
   Pgno number;
   std::uint16_t pad;
   std::uint16_t flags;
   std::uint16_t lower;  // for an overflow page lower and upper are its count of pages
   std::uint16_t upper;
};
static_assert(sizeof(PageHead) == 16);

struct TableHead {
   std::uint32_t pad;  // the page size, in the first table of a meta page
   std::uint16_t flags;
   std::uint16_t depth;
   std::uint64_t branchPages;
   std::uint64_t leafPages;
   std::uint64_t overflowPages;
   std::uint64_t entries;
   Pgno root;
};
static_assert(sizeof(TableHead) == 48);

struct Meta {
   std::uint32_t magic;
   std::uint32_t version;
   std::uint64_t address;
   std::uint64_t mapBytes;
   TableHead free;
   TableHead main;
   Pgno lastPage;
   std::uint64_t txn;
};

struct NodeHead {
   std::uint16_t lo;
   std::uint16_t hi;
   std::uint16_t flags;
   std::uint16_t keyBytes;
};
static_assert(sizeof(NodeHead) == 8);

enum class TableKind { free, main, rows };

class File {
public:
   explicit File(const std::filesystem::path& path) : path_(path) {
      fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
      if (fd_ < 0 && errno == ENOENT) return;
      struct stat facts {};
      if (fd_ < 0 || ::fstat(fd_, &facts) != 0) {
         const int error = errno;
         if (fd_ >= 0) ::close(fd_);
         throw StoreError(Trouble::unusable,
                          fmt::format("'{}' cannot be opened: {}", path.string(), std::strerror(error)));
      }
      bytes_ = static_cast<std::uint64_t>(facts.st_size);
      if (bytes_ == 0) return;
      map_ = ::mmap(nullptr, bytes_, PROT_READ, MAP_SHARED, fd_, 0);
      if (map_ == MAP_FAILED) {
         const int error = errno;
         ::close(fd_);
         throw StoreError(Trouble::unusable,
                          fmt::format("'{}' cannot be read: {}", path.string(), std::strerror(error)));
      }
   }
   ~File() {
      if (map_ != nullptr) ::munmap(map_, bytes_);
      if (fd_ >= 0) ::close(fd_);
   }
   File(const File&) = delete;
   File& operator=(const File&) = delete;

   std::uint64_t bytes() const { return bytes_; }
   const char* data() const { return static_cast<const char*>(map_); }

   template <class... A>
   [[noreturn]] void damaged(fmt::format_string<A...> what, A&&... args) const {
      throw StoreError(Trouble::damaged,
                       fmt::format("state directory '{}' is damaged: {}: {}", path_.parent_path().string(),
                                   path_.filename().string(), fmt::format(what, std::forward<A>(args)...)));
   }

private:
   std::filesystem::path path_;
   int fd_ = -1;
   std::uint64_t bytes_ = 0;
   void* map_ = nullptr;
};

class Check {
public:
   explicit Check(const File& file) : file_(file) {}

   DataFileFacts run() {
      const Meta meta = newestMeta();
      used_.assign(meta.lastPage + 1, false);
      used_[0] = used_[1] = true;
      if (meta.main.flags != 0) file_.damaged("its main table has flags {}", meta.main.flags);
      table(meta.main, TableKind::main);
      table(meta.free, TableKind::free);
      // Checked last: the free list's own pages may be found after its first rows.
      for (const auto page : freePages_) {
         if (page < 2 || page > meta.lastPage || used_[page]) file_.damaged("free page {} is in use", page);
         used_[page] = true;
      }
      return {.bytes = file_.bytes(), .pages = meta.lastPage + 1, .pageBytes = pageBytes_, .rows = rows_};
   }

private:
   template <class T>
   T read(const char* at) const {
      T v;
      std::memcpy(&v, at, sizeof v);
      return v;
   }

   Meta newestMeta() {
      if (file_.bytes() < sizeof(PageHead) + sizeof(Meta))
         file_.damaged("it has only {} bytes", file_.bytes());
      pageBytes_ = read<Meta>(file_.data() + sizeof(PageHead)).free.pad;
      if (pageBytes_ < 512 || pageBytes_ > 65536 || !std::has_single_bit(pageBytes_))
         file_.damaged("its first page gives a page size of {}", pageBytes_);
      if (file_.bytes() < 2 * std::uint64_t{pageBytes_}) file_.damaged("it has only {} bytes", file_.bytes());
      Meta newest{};
      for (Pgno page = 0; page < 2; ++page) {
         const auto* at = file_.data() + page * pageBytes_;
         const auto meta = read<Meta>(at + sizeof(PageHead));
         if (read<PageHead>(at).flags != pageMeta || meta.magic != metaMagic)
            file_.damaged("page {} is not a head page", page);
         if (meta.version != metaVersion) file_.damaged("its layout has version {}", meta.version);
         if (page == 0 || meta.txn > newest.txn) newest = meta;
      }
      // A branch stores page numbers in 48 bits.
      if (newest.lastPage < 1 || newest.lastPage >> 48 != 0 ||
          file_.bytes() / pageBytes_ < newest.lastPage + 1) {
         file_.damaged("it ends after {} bytes, before its last page {}", file_.bytes(), newest.lastPage);
      }
      return newest;
   }

   const char* page(Pgno number, std::uint64_t count = 1) {
      if (number < 2 || count == 0 || number >= used_.size() || used_.size() - number < count)
         file_.damaged("page {} is out of range", number);
      for (Pgno p = number; p < number + count; ++p) {
         if (used_[p]) file_.damaged("page {} is reached twice", p);
         used_[p] = true;
      }
      const auto* at = file_.data() + number * pageBytes_;
      if (read<PageHead>(at).number != number)
         file_.damaged("page {} has the number of another page", number);
      return at;
   }

   void table(const TableHead& head, TableKind kind) {
      if (head.root == noPage) {
         if (head.entries != 0) file_.damaged("a table of {} rows has no pages", head.entries);
         return;
      }
      if (head.depth == 0 || head.depth > 32) file_.damaged("a table has depth {}", head.depth);
      Walk walk{.kind = kind, .depth = head.depth};
      tree(head.root, 1, walk);
      if (walk.entries != head.entries || walk.branches != head.branchPages ||
          walk.leaves != head.leafPages || walk.overflows != head.overflowPages) {
         file_.damaged("a table's head does not match its contents");
      }
   }

   struct Walk {
      TableKind kind;
      unsigned depth;
      std::uint64_t entries = 0, branches = 0, leaves = 0, overflows = 0;
      bool any = false;
      std::string_view lastKey{};
   };

   void tree(Pgno number, unsigned level, Walk& walk) {
      const auto* at = page(number);
      const auto head = read<PageHead>(at);
      const bool leaf = level == walk.depth;
      if (head.flags != (leaf ? pageLeaf : pageBranch)) file_.damaged("page {} is of another kind", number);
      if (head.lower < sizeof(PageHead) || head.lower > head.upper || head.upper > pageBytes_ ||
          head.lower % 2)
         file_.damaged("page {} has bad bounds", number);
      (leaf ? walk.leaves : walk.branches) += 1;
      const unsigned count = (head.lower - sizeof(PageHead)) / 2;
      if (count == 0 || (!leaf && count < 2)) file_.damaged("page {} has {} nodes", number, count);
      for (unsigned i = 0; i < count; ++i) {
         const auto offset = read<std::uint16_t>(at + sizeof(PageHead) + 2 * i);
         if (offset < head.upper || offset + sizeof(NodeHead) > pageBytes_)
            file_.damaged("page {} has a node out of bounds", number);
         const auto node = read<NodeHead>(at + offset);
         if (offset + sizeof(NodeHead) + node.keyBytes > pageBytes_)
            file_.damaged("page {} has a key out of bounds", number);
         if (leaf) {
            row(at, offset, node, walk);
         } else {
            const Pgno child = node.lo | Pgno{node.hi} << 16 | Pgno{node.flags} << 32;
            tree(child, level + 1, walk);
         }
      }
   }

   void row(const char* at, unsigned offset, const NodeHead& node, Walk& walk) {
      const std::string_view key(at + offset + sizeof(NodeHead), node.keyBytes);
      const std::uint64_t bytes = node.lo | std::uint64_t{node.hi} << 16;
      const std::uint64_t inPage = node.flags & nodeBig ? sizeof(Pgno) : bytes;
      if (offset + sizeof(NodeHead) + node.keyBytes + inPage > pageBytes_)
         file_.damaged("a row reaches over its page");
      const char* data = key.data() + key.size();
      if (node.flags & nodeBig) {
         const auto first = read<Pgno>(data);
         const std::uint64_t count = (sizeof(PageHead) - 1 + bytes) / pageBytes_ + 1;
         data = page(first, count);
         if (read<PageHead>(data).flags != pageOverflow ||
             read<std::uint32_t>(data + offsetof(PageHead, lower)) != count) {
            file_.damaged("page {} is of another kind", first);
         }
         walk.overflows += count;
         data += sizeof(PageHead);
      }
      if (walk.any &&
          !(walk.kind == TableKind::free ? number(walk.lastKey) < number(key) : walk.lastKey < key))
         file_.damaged("rows are out of order");
      walk.any = true;
      walk.lastKey = key;
      ++walk.entries;
      switch (walk.kind) {
         case TableKind::main:
            if ((node.flags & ~nodeBig) != nodeTable || bytes != sizeof(TableHead))
               file_.damaged("its table of tables holds something else");
            {
               const auto head = read<TableHead>(data);
               if (head.flags != 0) file_.damaged("table '{}' has flags {}", key, head.flags);
               table(head, TableKind::rows);
               rows_ += head.entries;
            }
            break;
         case TableKind::free:
            freeRow({data, bytes});
            break;
         case TableKind::rows:
            if ((node.flags & ~nodeBig) != 0 || bytes < sizeof(std::uint32_t) ||
                read<std::uint32_t>(data + bytes - sizeof(std::uint32_t)) !=
                     rowSum(key, {data, bytes - sizeof(std::uint32_t)})) {
               file_.damaged("a row's sum is wrong");
            }
            break;
      }
   }

   std::uint64_t number(std::string_view key) const {
      if (key.size() != sizeof(std::uint64_t)) file_.damaged("its free list has a bad key");
      return read<std::uint64_t>(key.data());
   }

   // A count, then that many page numbers.
   void freeRow(std::string_view data) {
      if (data.size() < sizeof(Pgno)) file_.damaged("its free list is cut short");
      const auto count = read<std::uint64_t>(data.data());
      if (count > data.size() / sizeof(Pgno) - 1) file_.damaged("its free list is cut short");
      for (std::uint64_t i = 1; i <= count; ++i)
         freePages_.push_back(read<Pgno>(data.data() + i * sizeof(Pgno)));
   }

   const File& file_;
   std::uint32_t pageBytes_ = 0;
   std::uint64_t rows_ = 0;
   std::vector<bool> used_;
   std::vector<Pgno> freePages_;
};

}  // namespace

DataFileFacts verifyDataFile(const std::filesystem::path& path) {
   const File file(path);
   if (file.bytes() == 0) return {};
   return Check(file).run();
}

}  // namespace softswitch::store
