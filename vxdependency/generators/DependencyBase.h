#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vexa/Export.h"

namespace vexa {

namespace vxio {
class JsonData;
}

// What a rule says about a reference, whichever family it belongs to.
struct RuleData {
    std::int32_t strategy = 0;  // FNStrategyType bits, and the rule flags of its family
    std::string extra;
    std::int64_t value = 0;
};

// A generator knows one resource type, by its file extension: it lists the resources that a file of
// the type refers to, and rewrites such a file when one of them is renamed. The manager owns one
// object per extension and calls it through the slots below, whose order is that of the virtual
// table. Paths are resource paths in the form that the manager hands out (see GeneratorForm).
//
// Generators hold no locks: what they read at construction never changes, so the reading slots (1,
// 15 to 17) may be called from any thread. The manager serialises the calls that write files,
// except that it has the references of many files renamed (3) on several threads at once, each file
// on one. No slot throws for a bad file.
class VX_API CDependencyBase {
public:
    using List = std::vector<std::string>;

    // Files the generator with the manager, which owns it from then on. `extension` has no dot.
    explicit CDependencyBase(std::string extension);
    virtual ~CDependencyBase();
    CDependencyBase(const CDependencyBase&) = delete;
    CDependencyBase& operator=(const CDependencyBase&) = delete;

    const std::string& GetExtension() const { return m_extension; }

    // 1: appends the paths that `file` refers to. False, with the lists untouched, when the file
    // cannot be opened or parsed.
    virtual bool GenerateDependency(const std::string& file, List& dependencies,
                                    List& secondList) = 0;
    // 2, 3: rewrite the file so that references to a path go, or become another. The results are
    // fixed per class and do not tell of success.
    virtual bool RemoveReference(const std::string& file, const std::string& reference) = 0;
    virtual bool RenameReference(const std::string& file, const std::string& oldPath,
                                 const std::string& newPath) = 0;
    // 4: the same in a document that the caller has loaded.
    virtual bool RenameReferenceInData(vxio::JsonData& document, const std::string& oldPath,
                                       const std::string& newPath);
    // 5: the generator's share of moving the resource itself.
    virtual bool Rename(const std::string& oldPath, const std::string& newPath, bool flag);
    // 6: carries the companion files of the resource along.
    virtual bool MoveCompanionFiles(const std::string& oldPath, const std::string& newPath);
    // 7: copies a file, never over an existing one; one body for all classes.
    virtual bool CopyResourceFile(const std::string& from, const std::string& to);
    // 8: moves the files bound to the resource.
    virtual bool MoveBindingFiles(const std::string& oldPath, const std::string& newPath,
                                  bool flag);
    // 9: rewrites the relative paths inside a file that moved to another directory.
    virtual bool UpdateSelfReferences(const std::string& oldPath, const std::string& newPath);
    // 10: enters an animation into the resource's animation configuration (see AnimConfigFile.h).
    virtual void UpdateAnimConfig(const std::string& resource, const std::string& animation);
    // 11 to 14: fixed flags of the class.
    virtual bool ClassFlag11() const;
    virtual bool ClassFlag12() const;
    virtual bool ClassFlag13() const;
    virtual bool ClassFlag14() const;
    // 15: the rule that governs `name` in files of this type, owned by the generator; null for
    // none.
    virtual const RuleData* FindRuleEntry(const std::string& file, const std::string& name) = 0;
    // 16, 17: the suffixes of the files bound to a resource implicitly and explicitly.
    virtual List GetImplicitBindingFiles(const std::string& file);
    virtual List GetExplicitBindingFiles(const std::string& file);

protected:
    std::string m_extension;
};

// Makes a generator, which the manager owns from its construction on.
template <class Generator>
Generator* MakeGenerator(const std::string& extension) {
    return std::make_unique<Generator>(extension).release();
}

}  // namespace vexa
