#pragma once

#include <tsl/robin_map.h>
#include <tsl/robin_set.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

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

    // `otherwise` is the answer for what was not added.
    explicit KnownFiles(Answer otherwise = Answer::No);

    // Makes room for so many files at once.
    void Reserve(std::size_t count) { m_files.reserve(count); }
    // `number` is what NumberOf gives for it.
    void Add(std::string_view key, std::uint32_t number = kNoNumber);
    // What the walk did not look into: the disk is asked about it and what lies below.
    void AddUnknown(std::string_view key);

    Answer Find(std::string_view key) const;
    // The number that a file was added with; kNoNumber for what was not added.
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
    // The hashes are spread as well as any: they place themselves.
    struct Identity {
        std::size_t operator()(std::uint64_t hash) const { return hash; }
    };
    Answer m_otherwise;
    tsl::robin_map<std::uint64_t, std::uint32_t, Identity> m_files;
    tsl::robin_set<std::uint64_t, Identity> m_unknown;
};

}  // namespace vexa
