#pragma once

#include <list>
#include <mutex>
#include <string>

#include "vexa/db/Environment.h"

namespace vexa {

// The environments of the process, each counted by its openings. Never destroyed.
class EnvironmentRegistry {
public:
    static EnvironmentRegistry& Instance();

    // Opens the environment of a directory, or counts a further opening of it. Null on failure.
    Environment* Acquire(const std::string& directory, bool readOnly, OpenError& error);

    // Gives an opening back. The last one waits for a write transaction of another thread, as long
    // as a writer would, ends all others, and closes. When that thread does not end its own, or the
    // caller is inside an operation on the environment, it stays open, which is logged.
    void Release(Environment& environment);

private:
    struct Entry {
        explicit Entry(const std::string& directory) : environment(directory) {}
        Environment environment;
        unsigned openings = 0;
    };

    EnvironmentRegistry();
    Environment* Open(const std::string& directory, bool readOnly, OpenError& error);
    Entry* FindOpen(const std::string& directory);
    Entry& FindClosed(const std::string& directory);
    Entry& EntryOf(const Environment& environment);
    bool RemoveOpening(const Environment& environment);
    void CloseIfUnused(Environment& environment);

    std::mutex m_mutex;
    std::list<Entry> m_entries;
};

}  // namespace vexa
