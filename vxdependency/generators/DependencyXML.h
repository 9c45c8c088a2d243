#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vexa/common/TextHash.h"
#include "vexa/util/XmlDoc.h"
#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

class ReferenceRewriter;
struct ReferencePlace;

// Serves the XML resource types that the configuration names. A rule says which attribute of which
// elements holds a reference; elements are matched by their name, as NormaliseElementName leaves
// it. Rules for the element "" tell of companion files instead (see
// CompanionFiles.h).
class CDependencyXML : public CDependencyBase {
public:
    // In a rule's strategy, besides the bits of FNStrategyType: the attribute is that of each
    // child.
    static constexpr std::int32_t kChildFlag = 0x40;

    explicit CDependencyXML(std::string extension);

    // Adds a rule; only while generators are being created. `attribute` is the companion file's
    // suffix when `pattern` is "".
    void AddRule(const std::string& pattern, std::string attribute, std::int32_t strategy);

    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // Both answer false, whatever happens. Renaming follows every rename under way besides the one
    // that it is called for (see ReferenceRewriter); with an empty new path it removes.
    bool RemoveReference(const std::string& file, const std::string& reference) override;
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // To be called after the file was moved: moves the files bound to it and, into another folder,
    // updates its own references. Answers true.
    bool Rename(const std::string& oldPath, const std::string& newPath, bool flag) override;
    // Copies them. Each that cannot be copied is logged; answers true.
    bool MoveCompanionFiles(const std::string& oldPath, const std::string& newPath) override;
    // Those bound implicitly; answers true.
    bool MoveBindingFiles(const std::string& oldPath, const std::string& newPath,
                          bool flag) override;
    // To be called after the file was moved: lets its references name what they named before, by
    // the names that these resources have now. A text that still does is left as it is. False when
    // the file cannot be read.
    bool UpdateSelfReferences(const std::string& oldPath, const std::string& newPath) override;
    // `file` is a path of element names joined with "/", of which the last one counts.
    const RuleData* FindRuleEntry(const std::string& file, const std::string& name) override;
    List GetImplicitBindingFiles(const std::string& file) override;
    List GetExplicitBindingFiles(const std::string& file) override;

protected:
    // A reference: its text, which is never empty, and the element and attribute that hold it. The
    // strategy comes without the child flag.
    struct Reference {
        const std::string& text;
        std::int32_t strategy;
        XmlElement element;
        const std::string& attribute;
    };
    using ReferenceCallback = std::function<void(const Reference&)>;

    // Calls back for every reference in a document, in document order: the references of an element
    // in the order of its rules, before those of the elements inside it.
    void WalkReferences(const XmlDoc& document, const ReferenceCallback& callback) const;
    static ReferencePlace PlaceOf(const XmlDoc& document, const Reference& reference);

private:
    struct Rule {
        std::string attribute;
        RuleData data;
    };
    using Rules = std::vector<Rule>;

    bool Open(const std::string& key, XmlDoc& document) const;
    bool RewriteReferences(XmlDoc& document, const ReferenceRewriter& rewriter) const;
    const Rules* FindRules(std::string_view key) const;
    void CollectCompanions(const std::string& key, List& dependencies, List& secondList) const;
    List BindingSuffixes(std::int32_t flag) const;

    // By element name; "" for companion files.
    std::unordered_map<std::string, Rules, TextHash, std::equal_to<>> m_rules;
};

}  // namespace vexa
