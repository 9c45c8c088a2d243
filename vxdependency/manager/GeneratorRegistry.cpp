#include "vxdependency/manager/GeneratorRegistry.h"

#include <utility>

#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

GeneratorRegistry::GeneratorRegistry() {
    Publish(std::make_unique<Table>(8));
}

GeneratorRegistry& GeneratorRegistry::Instance() {
    // Never destroyed: background threads may dispatch until the process ends.
    static auto* const registry = new GeneratorRegistry();
    return *registry;
}

void GeneratorRegistry::Register(CDependencyBase* generator) {
    const std::lock_guard lock(m_guard);
    auto table = std::make_unique<Table>(Generators());
    (*table)[generator->GetExtension()].push_back(generator);
    Publish(std::move(table));
}

void GeneratorRegistry::Publish(std::unique_ptr<Table> table) {
    m_generators.store(table.get(), std::memory_order_release);
    m_tables.push_back(std::move(table));
}

bool GeneratorRegistry::CreatingOnThisThread() const {
    return m_creator.load() == std::this_thread::get_id();
}

void GeneratorRegistry::EnsureCreated(const std::function<void()>& create) {
    if (m_created.load(std::memory_order_acquire) || CreatingOnThisThread()) return;
    const std::lock_guard lock(m_creation);
    if (m_created.load(std::memory_order_acquire)) return;

    struct Creating {
        explicit Creating(GeneratorRegistry& owner) : registry(owner) {
            registry.m_creator = std::this_thread::get_id();
        }
        ~Creating() {
            registry.m_creator = std::thread::id();
            registry.m_created.store(true, std::memory_order_release);
        }
        GeneratorRegistry& registry;
    } const creating(*this);

    if (Generators().empty()) create();
}

CDependencyBase* GeneratorRegistry::Find(const std::string& extension) const {
    const Table& generators = Generators();
    const auto found = generators.find(extension);
    return found == generators.end() ? nullptr : found->second.front();
}

std::vector<CDependencyBase*> GeneratorRegistry::FindAll(const std::string& extension) const {
    const Table& generators = Generators();
    const auto found = generators.find(extension);
    return found == generators.end() ? std::vector<CDependencyBase*>() : found->second;
}

void GeneratorRegistry::Extensions(std::vector<std::string>& out) const {
    std::unique_lock creation(m_creation, std::defer_lock);
    if (!CreatingOnThisThread()) creation.lock();
    for (const auto& [extension, generators] : Generators()) {
        out.insert(out.end(), generators.size(), extension);
    }
}

void GeneratorRegistry::DeleteAll() {
    const std::lock_guard lock(m_guard);
    const Table& doomed = Generators();
    Publish(std::make_unique<Table>(8));
    for (const auto& [extension, list] : doomed) {
        for (const CDependencyBase* generator : list) delete generator;
    }
}

}  // namespace vexa
