#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vexa/common/TextHash.h"
#include "vexa/io/JsonOutline.h"
#include "vxdependency/generators/DependencyBase.h"

namespace vexa {

class ReferenceRewriter;

// Serves the JSON resource types that the configuration names. A rule says which members hold a
// reference, wherever in the document they stand. Rules for the member "" tell of companion files
// instead (see CompanionFiles.h). A string that a table of paths holds is governed by the rules for
// "PATH", of which the first takes it as a path from the resource root.
class CDependencyJSON : public CDependencyBase {
public:
    // In a rule's strategy, besides the bits of FNStrategyType: with an extra text, the reference
    // is the value with that text appended; without one, the list that holds the value is a table
    // of paths (see WalkMembers).
    static constexpr std::int32_t kExtraFlag = 0x200;

    explicit CDependencyJSON(std::string extension);

    // Each adds to the rules; only while generators are being created. `extra` is the companion
    // file's suffix when `member` is "". An ignored member is passed over with all that it holds.
    void AddRule(const std::string& member, std::string extra, std::int32_t strategy);
    void AddIgnored(std::string member);

    bool GenerateDependency(const std::string& file, List& dependencies, List& secondList) override;
    // All three answer true, whatever happens. Renaming follows every rename under way besides the
    // one that it is called for (see ReferenceRewriter); with an empty new path it removes.
    bool RemoveReference(const std::string& file, const std::string& reference) override;
    bool RenameReference(const std::string& file, const std::string& oldPath,
                         const std::string& newPath) override;
    // The document's file is the one that it was loaded from. Without one, texts relative to the
    // file are read from the resource root. Saving it is the caller's.
    bool RenameReferenceInData(vxio::JsonData& document, const std::string& oldPath,
                               const std::string& newPath) override;
    // To be called after the file was moved: moves the files bound to it implicitly. What the file
    // holds stays: its relative references are not updated for another folder. Answers true.
    bool Rename(const std::string& oldPath, const std::string& newPath, bool flag) override;
    // Null: rules are not asked for by name in this family.
    const RuleData* FindRuleEntry(const std::string& file, const std::string& name) override;
    List GetImplicitBindingFiles(const std::string& file) override;
    List GetExplicitBindingFiles(const std::string& file) override;

private:
    using Rules = std::vector<RuleData>;

    // Gets a reference: the member that holds it, the rule that found it, and its value.
    template <class Callback>
    void WalkReferences(const vxio::JsonOutline& outline, const Callback& callback) const;
    bool Load(const std::string& key, vxio::JsonData& document) const;
    // True when there was something to change.
    bool RewriteReferences(vxio::JsonData& document, const ReferenceRewriter& rewriter) const;
    const Rules* FindRules(std::string_view member) const;
    List BindingSuffixes(std::int32_t flag) const;

    std::unordered_map<std::string, Rules, TextHash, std::equal_to<>> m_rules;  // by member name
    Rules m_companions;
    std::set<std::string, std::less<>> m_ignored;  // member names
};

}  // namespace vexa
