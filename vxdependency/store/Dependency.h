#pragma once

#include "vexa/db/VXDatabase.h"

namespace vexa::vxdependency {

// Abstract base of the stores of relations from K to V over one database. The program has one,
// Dependency<std::string, std::string>.
template <class K, class V>
class Dependency {
public:
    Dependency() = default;
    Dependency(const Dependency&) = delete;
    Dependency& operator=(const Dependency&) = delete;
    virtual ~Dependency() { m_database.Close(); }

    // Opens the database; false when that fails.
    virtual bool Open() = 0;

protected:
    VXDatabase m_database;
};

}  // namespace vexa::vxdependency
