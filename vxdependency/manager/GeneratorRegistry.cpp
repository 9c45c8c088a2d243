#include "vxdependency/manager/GeneratorRegistry.h"

#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

GeneratorRegistry::GeneratorRegistry() : m_generators(8) {
    m_generators.max_load_factor(1.0F);
}

GeneratorRegistry& GeneratorRegistry::Instance() {
    // Never destroyed: background threads may dispatch until the process ends.
    static auto* const registry = new GeneratorRegistry();
    return *registry;
}

void GeneratorRegistry::Register(CDependencyBase* generator) {
    const std::unique_lock lock(m_guard);
    m_generators[generator->GetExtension()].push_back(generator);
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

    const bool empty = [this] {
        const std::shared_lock reading(m_guard);
        return m_generators.empty();
    }();
    if (empty) create();
}

CDependencyBase* GeneratorRegistry::Find(const std::string& extension) const {
    const std::shared_lock lock(m_guard);
    const auto found = m_generators.find(extension);
    return found == m_generators.end() ? nullptr : found->second.front();
}

std::vector<CDependencyBase*> GeneratorRegistry::FindAll(const std::string& extension) const {
    const std::shared_lock lock(m_guard);
    const auto found = m_generators.find(extension);
    return found == m_generators.end() ? std::vector<CDependencyBase*>() : found->second;
}

void GeneratorRegistry::Extensions(std::vector<std::string>& out) const {
    std::unique_lock creation(m_creation, std::defer_lock);
    if (!CreatingOnThisThread()) creation.lock();
    const std::shared_lock lock(m_guard);
    for (const auto& [extension, generators] : m_generators) {
        out.insert(out.end(), generators.size(), extension);
    }
}

void GeneratorRegistry::DeleteAll() {
    std::unordered_map<std::string, std::vector<CDependencyBase*>> generators;
    {
        const std::unique_lock lock(m_guard);
        generators.swap(m_generators);
    }
    for (const auto& [extension, list] : generators) {
        for (const CDependencyBase* generator : list) delete generator;
    }
}

}  // namespace vexa
