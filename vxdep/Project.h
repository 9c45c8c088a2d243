#pragma once

#include <filesystem>

#include "vxdep/Commands.h"

namespace vexa {
class CDependencyManager;
namespace vxdependency {
class GeneralDependency;
}
}  // namespace vexa

namespace vxdep {

// The project that a command works on.
class Project {
public:
    // Finds the project's root; nothing is opened yet. Throws Failure when there is none.
    explicit Project(const GlobalOptions& options);

    const std::filesystem::path& Root() const { return m_root; }
    std::filesystem::path Resources() const { return m_root / "res"; }

    // Makes it the project of this process: the working directory changes to its root, and its
    // store is opened. Throws Failure.
    void Open() const;

    // Reads the configuration and creates the generators, which the library would do when it first
    // reads a file; here a mistake in the configuration can still be told as such.
    void LoadGenerators() const;

    // Says so when answers may be incomplete because no scan has ever been through the tree.
    static void WarnIfNeverScanned();

    static vexa::CDependencyManager& Manager();
    static vexa::vxdependency::GeneralDependency& Store();

private:
    std::filesystem::path m_root;
    std::filesystem::path m_builtin;
};

}  // namespace vxdep
