#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vxdependency/generators/ReferenceObserver.h"

namespace vexa::strategies {

// What the strategies of one reference have found so far. One object serves one reference after
// another, and keeps what it has allocated: references come by the million.
class Found {
public:
    // Forgets what was found.
    void Clear();
    // The strategy that adds from now on.
    void Begin(std::int32_t strategy) { m_strategy = strategy; }

    // The candidates for the reference.
    std::span<const ReferenceCandidate> Candidates() const {
        return {m_candidates.data(), m_count};
    }
    // Adds one; false for "", which is none. `loose` for what may be no key as it stands.
    bool Add(std::string_view key, bool loose = false);
    bool IsLoose(std::size_t index) const { return m_notes[index].loose; }
    // Whether the file of a candidate is there. Each is looked for once.
    bool Exists(std::size_t index);

    // The key of a name taken from the resource root; null when it names nothing. Whether its file
    // is there. Mostly asked several times about one name.
    const std::string* RootedKey(const std::string& name);
    // The same key when the name is it as it stands, but for separators in front; else null. Such a
    // key can be joined to a folder's as well.
    const std::string* PlainKey(const std::string& name);
    bool RootedExists(const std::string& name);

    // Adds the working name as the last candidate. All are then keys, each once, of which is known
    // whether they exist.
    void Resolve(const std::string& name);

    std::vector<std::string> companions;  // existing files that come with the named resource

    // For strategies to make a key in.
    std::string scratch;

private:
    struct Note {
        bool loose;
        bool looked;  // whether the candidate exists is known
    };
    struct Rooted {
        bool known = false;
        bool valid = false;
        bool looked = false;
        bool exists = false;
        std::string name;
        std::string key;
    };

    bool Settle(std::size_t index);
    bool IsWithin(std::size_t count, const std::string& key) const;

    std::int32_t m_strategy = 0;
    // Behind the first `m_count` are some of earlier references, whose memory is used again.
    std::vector<ReferenceCandidate> m_candidates;
    std::size_t m_count = 0;
    std::vector<Note> m_notes;  // one for each candidate
    Rooted m_rooted;
};

}  // namespace vexa::strategies
