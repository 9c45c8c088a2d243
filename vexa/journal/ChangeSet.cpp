#include "vexa/journal/ChangeSet.h"

#include <xxhash.h>

#include "vexa/io/BinaryStreamReader.h"
#include "vexa/io/BinaryStreamWriter.h"
#include "vexa/io/PathText.h"

namespace vexa {

namespace {

using vxio::BinaryStreamReader;
using vxio::BinaryStreamWriter;

constexpr std::string_view kMagic = "vxdependency changes 1\n";

// Writes and reads a set by one description, so that both agree.
class Encoder {
public:
    explicit Encoder(std::string& bytes) : m_output(bytes), m_writer(m_output) {}

    bool Text(const std::string& text) { return m_writer.WriteString(text); }
    bool Number(std::uint64_t value) {
        return m_writer.WriteU32(static_cast<std::uint32_t>(value)) &&
               m_writer.WriteU32(static_cast<std::uint32_t>(value >> 32));
    }
    bool Count(const auto& list) { return Number(list.size()); }

private:
    vxio::MemoryOutput m_output;
    BinaryStreamWriter m_writer;
};

class Decoder {
public:
    explicit Decoder(std::string_view bytes) : m_input(bytes), m_reader(m_input) {}

    bool Text(std::string& text) { return m_reader.ReadString(text); }
    bool Number(auto& value) {
        std::uint32_t low = 0;
        std::uint32_t high = 0;
        if (!m_reader.ReadU32(low) || !m_reader.ReadU32(high)) return false;
        const std::uint64_t whole = std::uint64_t{high} << 32 | low;
        value = static_cast<std::remove_reference_t<decltype(value)>>(whole);
        return true;
    }
    // An entry takes at least a length of 4 bytes: no damaged count makes us allocate more.
    bool Count(auto& list) {
        std::uint64_t count = 0;
        if (!Number(count) || count > m_input.Remaining() / 4) return false;
        list.resize(count);
        return true;
    }

private:
    vxio::MemoryInput m_input;
    BinaryStreamReader m_reader;
};

bool Code(auto& coder, auto& changes) {
    const auto identity = [&coder](auto& file) {
        return coder.Number(file.number) && coder.Number(file.writeTimeNs) &&
               coder.Number(file.size);
    };
    if (!coder.Text(changes.title) || !coder.Count(changes.edits)) return false;
    for (auto& edit : changes.edits) {
        if (!coder.Text(edit.target) || !coder.Text(edit.staged) || !coder.Text(edit.kept) ||
            !identity(edit.before) || !identity(edit.after) || !coder.Number(edit.hash))
            return false;
    }
    if (!coder.Count(changes.moves)) return false;
    for (auto& move : changes.moves) {
        if (!coder.Text(move.from) || !coder.Text(move.to) || !coder.Number(move.number))
            return false;
    }
    if (!coder.Count(changes.notes)) return false;
    for (auto& note : changes.notes) {
        if (!coder.Text(note)) return false;
    }
    return true;
}

void ForEachPath(ChangeSet& changes, const auto& change) {
    for (FileEdit& edit : changes.edits) change(edit.target);
    for (PathMove& move : changes.moves) {
        change(move.from);
        change(move.to);
    }
}

}  // namespace

std::string ChangeSet::NameAfterMoves(const std::string& path, std::size_t firstMove) const {
    std::string name = path;
    for (std::size_t i = firstMove; i < moves.size(); ++i) {
        const PathMove& move = moves[i];
        if (IsAtOrBelow(name, move.from)) name = move.to + name.substr(move.from.size());
    }
    return name;
}

std::uint64_t HashOfBytes(std::string_view bytes) {
    return XXH3_64bits(bytes.data(), bytes.size());
}

std::string WriteChangeSet(ChangeSet changes, const std::string& base) {
    ForEachPath(changes, [&base](std::string& path) {
        if (path.size() > base.size() && IsAtOrBelow(path, base)) path.erase(0, base.size() + 1);
    });
    std::string body;
    Encoder encoder(body);
    Code(encoder, changes);
    std::string bytes(kMagic);
    Encoder sum(bytes);
    sum.Number(HashOfBytes(body));
    return bytes + body;
}

bool ReadChangeSet(std::string_view bytes, const std::string& base, ChangeSet& changes) {
    constexpr std::size_t kHead = kMagic.size() + sizeof(std::uint64_t);
    if (bytes.size() < kHead || !bytes.starts_with(kMagic)) return false;
    std::uint64_t sum = 0;
    Decoder(bytes.substr(kMagic.size())).Number(sum);
    const std::string_view body = bytes.substr(kHead);
    changes = {};
    Decoder decoder(body);
    if (sum != HashOfBytes(body) || !Code(decoder, changes)) return false;
    ForEachPath(changes, [&base](std::string& path) {
        if (vxio::AnchorLength(path) == 0) path.insert(0, base + "/");
    });
    return true;
}

bool IsAtOrBelow(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

}  // namespace vexa
