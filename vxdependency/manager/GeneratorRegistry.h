#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace vexa {

class CDependencyBase;

// The generators of the process, by extension. One registry serves every manager, so that a further
// manager answers from the same generators instead of filing them a second time. Those of one
// extension are kept in order of registration, which a hash multimap of the standard library would
// not do. All operations may be called from any thread.
class GeneratorRegistry {
public:
    static GeneratorRegistry& Instance();

    void Register(CDependencyBase* generator);

    // Runs `create`, which registers the generators, unless that was done or something is
    // registered already. Other threads wait until it has ended. If it throws, what it registered
    // stays, it is not run again, and the caller gets the exception.
    void EnsureCreated(const std::function<void()>& create);

    // The first generator of an extension, or null.
    CDependencyBase* Find(const std::string& extension) const;
    std::vector<CDependencyBase*> FindAll(const std::string& extension) const;

    // Appends every extension, once per generator. Waits for a creation that runs.
    void Extensions(std::vector<std::string>& out) const;

    // Deletes every generator and forgets them.
    void DeleteAll();

private:
    GeneratorRegistry();

    bool CreatingOnThisThread() const;

    mutable std::mutex m_creation;  // held while the generators are created
    std::atomic<bool> m_created{false};
    std::atomic<std::thread::id> m_creator{};

    using Table = std::unordered_map<std::string, std::vector<CDependencyBase*>>;

    const Table& Generators() const { return *m_generators.load(std::memory_order_acquire); }
    void Publish(std::unique_ptr<Table> table);

    // Every file that is read asks, on every core, and generators are registered a few times only:
    // a table that was published is never changed, nor deleted, since somebody may be looking.
    std::mutex m_guard;  // of those who publish
    std::vector<std::unique_ptr<const Table>> m_tables;
    std::atomic<const Table*> m_generators;
};

}  // namespace vexa
