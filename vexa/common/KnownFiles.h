#pragma once

#include <tsl/robin_set.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "vexa/os/LargePages.h"

namespace vexa {

// Which files there are below the resource root, as one walk met them. While a Use of it lives, the
// file service answers its thread's questions for existence from here: a scan asks several times
// per reference, and a look at the disk costs more than parsing the reference did. (100,000 files
// with 5 references each: 0.9 of 4 seconds.) What changes after the walk is the next scan's
// business.
//
// Keys are kept as 64-bit hashes (XXH3): 10 million questions about a million files give a wrong
// answer with a probability below one in a million.
//
// Filled by one thread; then any thread may ask.
class KnownFiles {
public:
    enum class Answer { Yes, No, AskDisk };
    static constexpr std::uint32_t kNoNumber = UINT32_MAX;

    // For at most so many files. `otherwise` is the answer for what was not added.
    explicit KnownFiles(std::size_t capacity = 0, Answer otherwise = Answer::No);

    // The next file, which gets the next number, from 0. std::length_error beyond the capacity.
    // What was added before is not added again, but its number is used up.
    void Add(std::string_view key);
    // A number that no file has.
    void SkipNumber() { ++m_added; }
    // What the walk did not look into: the disk is asked about it and what lies below.
    void AddUnknown(std::string_view key);

    Answer Find(std::string_view key) const;
    // The number of a file; kNoNumber for what was not added.
    std::uint32_t NumberOf(std::string_view key) const;
    // Whether it tells of the whole tree.
    bool IsComplete() const { return m_otherwise == Answer::No; }

    class Use {
    public:
        explicit Use(const KnownFiles& files);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        const KnownFiles* m_before;
    };

    // What the calling thread uses now, or null.
    static const KnownFiles* OfThisThread();

private:
    // The place of a hash's slot: where it is looked for from. The table is as small as can be,
    // since every look is a miss of the caches as long as it does not fit in one: a slot holds a
    // number, from 1, and as much of the hash as there is room for; its place tells the rest.
    std::size_t SlotOf(std::uint64_t hash) const;

    struct Identity {
        std::size_t operator()(std::uint64_t hash) const { return hash; }
    };
    Answer m_otherwise;
    int m_numberBits;
    std::uint32_t m_added = 0;
    os::LargeTable<std::uint64_t> m_slots;  // 0: empty
    tsl::robin_set<std::uint64_t, Identity> m_unknown;
};

}  // namespace vexa
