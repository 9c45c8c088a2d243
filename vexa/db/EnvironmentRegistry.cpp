#include "vexa/db/EnvironmentRegistry.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>

#include "vexa/common/Log.h"

namespace vexa {

EnvironmentRegistry& EnvironmentRegistry::Instance() {
    static EnvironmentRegistry& registry = *new EnvironmentRegistry;
    return registry;
}

EnvironmentRegistry::EnvironmentRegistry() {
    HoldWhileForking(m_mutex);
}

// By the data file, not by name: the directory may have been moved since, or have two names.
EnvironmentRegistry::Entry* EnvironmentRegistry::FindOpen(const std::string& directory) {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        return !entry.environment.IsForeign() && entry.environment.IsOpenOn(directory);
    });
    return found == m_entries.end() ? nullptr : &*found;
}

EnvironmentRegistry::Entry& EnvironmentRegistry::FindClosed(const std::string& directory) {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) {
        return !entry.environment.IsOpen() && entry.environment.Directory() == directory;
    });
    return found == m_entries.end() ? m_entries.emplace_back(directory) : *found;
}

EnvironmentRegistry::Entry& EnvironmentRegistry::EntryOf(const Environment& environment) {
    return *std::find_if(m_entries.begin(), m_entries.end(),
                         [&](const Entry& entry) { return &entry.environment == &environment; });
}

Environment* EnvironmentRegistry::Acquire(const std::string& directory, bool readOnly,
                                          OpenError& error) {
    // The file system would take an empty name for the working directory.
    if (directory.empty()) {
        error.text = "no directory is named for the database";
        return nullptr;
    }
    boost::system::error_code failure;
    const std::string path = boost::filesystem::canonical(directory, failure).string();
    if (failure) {
        error.text = directory + ": " + failure.message();
        return nullptr;
    }
    Environment* const environment = Open(path, readOnly, error);
    if (environment == nullptr || environment->OpenTables(error)) return environment;
    Release(*environment);
    return nullptr;
}

Environment* EnvironmentRegistry::Open(const std::string& directory, bool readOnly,
                                       OpenError& error) {
    const std::lock_guard lock(m_mutex);
    Entry* entry = FindOpen(directory);
    if (entry == nullptr) {
        entry = &FindClosed(directory);
        if (!entry->environment.Open(readOnly, error)) return nullptr;
    } else if (entry->environment.IsReadOnly() && !readOnly) {
        error.text = directory + ": is open for reading only in this process";
        return nullptr;
    }
    ++entry->openings;
    return &entry->environment;
}

void EnvironmentRegistry::Release(Environment& environment) {
    if (!RemoveOpening(environment)) return;
    if (!IsUsing(environment)) {
        if (Transaction* own = FindWriter(environment)) environment.Abort(*own);
        if (environment.Lock().LockOutThreads()) {
            CloseIfUnused(environment);
            environment.Lock().LetInThreads();
            return;
        }
    }
    LogError("%s: cannot be closed while a transaction uses it", environment.Directory().c_str());
}

bool EnvironmentRegistry::RemoveOpening(const Environment& environment) {
    const std::lock_guard lock(m_mutex);
    return --EntryOf(environment).openings == 0;
}

// Somebody may have opened, or opened and closed it, while its writer was waited for.
void EnvironmentRegistry::CloseIfUnused(Environment& environment) {
    const std::lock_guard lock(m_mutex);
    if (EntryOf(environment).openings == 0 && environment.IsOpen()) environment.Close();
}

}  // namespace vexa
