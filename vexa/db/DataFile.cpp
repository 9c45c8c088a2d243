#include "vexa/db/DataFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <vector>

// The layout is that of LMDB 0.9 (data version 1) with 64-bit page numbers, in native byte order.
namespace vexa {
namespace {

constexpr std::uint32_t kMagic = 0xBEEFC0DE;
constexpr std::uint32_t kVersion = 1;
constexpr std::uint64_t kNoPage = ~std::uint64_t{0};

constexpr std::uint16_t kBranchPage = 0x01;
constexpr std::uint16_t kLeafPage = 0x02;
constexpr std::uint16_t kMetaPage = 0x08;
constexpr std::uint16_t kBigData = 0x01;  // of a node: the value has pages of its own

struct PageHeader {
    std::uint64_t number;
    std::uint16_t pad;
    std::uint16_t flags;
    std::uint16_t lower;  // the end of the table of nodes
    std::uint16_t upper;
};

struct Tree {
    std::uint32_t pageSize;  // in the tree of free pages only
    std::uint16_t flags;
    std::uint16_t depth;
    std::array<std::uint64_t, 4> counts;
    std::uint64_t root;
};

struct Meta {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t mapSize;
    Tree freePages;
    Tree main;
    std::uint64_t lastPage;
    std::uint64_t transaction;
};

struct NodeHeader {
    std::uint16_t low;  // with `high` the size of a leaf's value, with `flags` too a branch's page
    std::uint16_t high;
    std::uint16_t flags;
    std::uint16_t keySize;
};

static_assert(sizeof(PageHeader) == 16 && sizeof(Meta) == 136 && sizeof(NodeHeader) == 8);

struct Damage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void Require(bool sound, const char* otherwise) {
    if (!sound) throw Damage(otherwise);
}

template <typename T>
T Load(const std::vector<char>& bytes, std::size_t offset) {
    Require(offset + sizeof(T) <= bytes.size(), "a page is inconsistent");
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

class DataFile {
public:
    explicit DataFile(const std::string& path) : m_file(path, std::ios::binary), m_path(path) {}

    void Check() {
        m_meta = ReadMeta(0);
        const Meta other = ReadMeta(m_meta.freePages.pageSize);
        Require(other.freePages.pageSize == m_meta.freePages.pageSize, "its head is inconsistent");
        if (other.transaction > m_meta.transaction) m_meta = other;
        // Asked after the meta page was read: a writer enlarges the file before it says so.
        m_pages = boost::filesystem::file_size(m_path) / PageSize();
        CheckRoot(m_meta.main);
        CheckRoot(m_meta.freePages);
        CheckEnd();
    }

private:
    std::uint64_t PageSize() const { return m_meta.freePages.pageSize; }

    std::vector<char> Read(std::uint64_t offset, std::size_t size) {
        std::vector<char> bytes(size);
        m_file.clear();
        m_file.seekg(static_cast<std::streamoff>(offset));
        m_file.read(bytes.data(), static_cast<std::streamsize>(size));
        Require(m_file.good(), "its end is missing");
        return bytes;
    }

    Meta ReadMeta(std::uint64_t offset) {
        const std::vector<char> bytes = Read(offset, sizeof(PageHeader) + sizeof(Meta));
        const auto meta = Load<Meta>(bytes, sizeof(PageHeader));
        Require(Load<PageHeader>(bytes, 0).flags == kMetaPage && meta.magic == kMagic,
                "it is no database file");
        Require(meta.version == kVersion, "it is a database file of another version");
        const std::uint32_t pageSize = meta.freePages.pageSize;
        Require(std::has_single_bit(pageSize) && pageSize >= 512 && pageSize <= 65536,
                "its head is inconsistent");
        return meta;
    }

    std::vector<char> ReadTreePage(std::uint64_t number) {
        Require(number < m_pages, "its end is missing");
        std::vector<char> page = Read(number * PageSize(), PageSize());
        const auto header = Load<PageHeader>(page, 0);
        const int kind = header.flags & (kBranchPage | kLeafPage);
        Require(header.number == number && (kind == kBranchPage || kind == kLeafPage),
                "a page is inconsistent");
        return page;
    }

    void CheckRoot(const Tree& tree) {
        if (tree.root != kNoPage) ReadTreePage(tree.root);
    }

    // The last pages of a sound file may never have been written, when they were taken and freed
    // within one transaction. They are listed as free then.
    void CheckEnd() {
        if (m_meta.lastPage < m_pages) return;
        if (m_meta.freePages.root != kNoPage)
            CountFreePages(m_meta.freePages.root, m_meta.freePages.depth);
        Require(m_freeBeyondEnd == m_meta.lastPage + 1 - m_pages, "its end is missing");
    }

    void CountFreePages(std::uint64_t number, unsigned depth) {
        Require(depth > 0, "a page is inconsistent");
        const std::vector<char> page = ReadTreePage(number);
        const auto header = Load<PageHeader>(page, 0);
        for (std::size_t slot = sizeof(PageHeader); slot < header.lower; slot += 2) {
            const std::size_t at = Load<std::uint16_t>(page, slot);
            const auto node = Load<NodeHeader>(page, at);
            const std::uint64_t size = node.low | std::uint64_t{node.high} << 16;
            if (header.flags & kBranchPage)
                CountFreePages(size | std::uint64_t{node.flags} << 32, depth - 1);
            else
                CountFreePages(page, at + sizeof node + node.keySize, size, node.flags);
        }
    }

    // One record of the tree of free pages: their count, and as many numbers.
    void CountFreePages(const std::vector<char>& page, std::size_t value, std::uint64_t size,
                        std::uint16_t flags) {
        std::vector<char> elsewhere;
        if (flags & kBigData) {
            const auto first = Load<std::uint64_t>(page, value);
            Require(first < m_pages && size <= (m_pages - first) * PageSize(),
                    "its end is missing");
            elsewhere = Read(first * PageSize() + sizeof(PageHeader), size);
            value = 0;
        }
        const std::vector<char>& bytes = flags & kBigData ? elsewhere : page;
        const auto count = Load<std::uint64_t>(bytes, value);
        Require(size / sizeof count > count, "a page is inconsistent");
        for (std::uint64_t i = 1; i <= count; ++i) {
            const auto freed = Load<std::uint64_t>(bytes, value + i * sizeof count);
            if (freed >= m_pages && freed <= m_meta.lastPage) ++m_freeBeyondEnd;
        }
    }

    std::ifstream m_file;
    boost::filesystem::path m_path;
    Meta m_meta = {};
    std::uint64_t m_pages = 0;  // that the file has
    std::uint64_t m_freeBeyondEnd = 0;
};

}  // namespace

std::string FindDamage(const std::string& path) {
    if constexpr (sizeof(std::size_t) != sizeof(std::uint64_t)) return "";  // another layout
    // A file that cannot be opened is not damaged; whoever maps it next learns why.
    if (!std::ifstream(path, std::ios::binary)) return "";
    try {
        DataFile(path).Check();
    } catch (const Damage& damage) {
        return damage.what();
    } catch (const boost::filesystem::filesystem_error&) {
        return "";
    }
    return "";
}

}  // namespace vexa
