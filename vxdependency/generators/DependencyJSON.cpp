#include "vxdependency/generators/DependencyJSON.h"

#include <optional>
#include <unordered_set>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/generators/BindingMoves.h"
#include "vxdependency/generators/CompanionFiles.h"
#include "vxdependency/generators/GeneratorMessages.h"
#include "vxdependency/generators/MemberWalk.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/generators/ReferenceRewriter.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

bool MarksPathTable(const RuleData& rule) {
    return (rule.strategy & CDependencyJSON::kExtraFlag) != 0 && rule.extra.empty();
}

// What the rule adds to a reference's text.
std::string AdditionOf(const RuleData& rule) {
    return (rule.strategy & CDependencyJSON::kExtraFlag) != 0 ? rule.extra : "";
}

// A string that a rule governs. `name` is what the walk offered it under.
struct Found {
    const std::string& name;
    const std::string& member;
    ujson::value& value;
    const RuleData& rule;
};

ReferencePlace PlaceOf(const Found& found, const vxio::JsonData& document) {
    std::string rule = "member \"" + found.member + '"';
    if (found.name != found.member) rule += " (path table)";
    const std::size_t text = found.value.offset() + 1;  // behind the quote
    return {text, document.LineOf(text), std::move(rule)};
}

}  // namespace

CDependencyJSON::CDependencyJSON(std::string extension)
    : CDependencyBase(std::move(extension)), m_rules(8) {
    m_rules.max_load_factor(1.0F);
    AddRule(kPathMember, "", 0);
}

void CDependencyJSON::AddRule(const std::string& member, std::string extra, std::int32_t strategy) {
    Rules& rules = member.empty() ? m_companions : m_rules[member];
    rules.push_back({strategy, std::move(extra), 0});
}

void CDependencyJSON::AddIgnored(std::string member) {
    m_ignored.insert(std::move(member));
}

template <class Callback>
void CDependencyJSON::WalkReferences(vxio::JsonData& document, const Callback& callback) const {
    WalkMembers(*document.GetRoot(), [&](const std::string& name, ujson::value& value,
                                         ujson::object& members, std::int32_t index, bool& stop) {
        const std::string& member = members[static_cast<std::size_t>(index)].first;
        if (m_ignored.contains(member)) return false;
        const Rules* const rules = value.is_string() ? FindRules(name) : nullptr;
        if (!rules) return true;
        for (const RuleData& rule : *rules) {
            if (MarksPathTable(rule)) {
                stop = true;
                return false;
            }
            callback(Found{name, member, value, rule});
        }
        return true;
    });
}

bool CDependencyJSON::GenerateDependency(const std::string& file, List& dependencies,
                                         List& secondList) {
    std::string key;
    if (!KeyToRead(file, key)) return false;
    vxio::JsonData document;
    if (!Load(key, document)) return false;
    for (const RuleData& companion : m_companions) {
        CollectCompanion(key, companion.extra, companion.strategy, dependencies, secondList);
    }
    WalkReferences(document, [&](const Found& found) {
        const std::string text = found.value.to_string("");
        const std::string addition = AdditionOf(found.rule);
        if (text.empty() && addition.empty()) return;
        const ReferenceSite site([&] { return PlaceOf(found, document); });
        CollectReference(key, text, found.rule.strategy, site, dependencies, secondList, addition);
    });
    CDependencyManager* const manager = CDependencyManager::GetSingletonPtr();
    manager->MakeVectorUnique(dependencies);
    manager->MakeVectorUnique(secondList);
    return true;
}

bool CDependencyJSON::Load(const std::string& key, vxio::JsonData& document) const {
    if (document.Load(key) != -1) return true;
    WarnUnreadable(key, m_extension, "JSON", document.GetError());
    return false;
}

bool CDependencyJSON::RemoveReference(const std::string& file, const std::string& reference) {
    return RenameReference(file, reference, "");
}

bool CDependencyJSON::RenameReference(const std::string& file, const std::string& oldPath,
                                      const std::string& newPath) {
    std::string key;
    vxio::JsonData document;
    if (!KeyToRead(file, key) || !Load(key, document)) return true;
    const ReferenceRewriter rewriter(key, ReferenceRewriter::Scope::Renamed, oldPath, newPath);
    if (RewriteReferences(document, rewriter) && document.Save(key) == -1) {
        LogError("%s", document.GetError().c_str());
    }
    return true;
}

bool CDependencyJSON::RenameReferenceInData(vxio::JsonData& document, const std::string& oldPath,
                                            const std::string& newPath) {
    if (!document.GetRoot()) return true;
    std::string key;
    InterfaceBox::Instance().GetFileService().MakeRelative(document.GetPath(), key);
    const ObserverUse unobserved(nullptr);  // who hears of a rewrite expects that it is saved
    RewriteReferences(document, {key, ReferenceRewriter::Scope::Renamed, oldPath, newPath});
    return true;
}

bool CDependencyJSON::RewriteReferences(vxio::JsonData& document,
                                        const ReferenceRewriter& rewriter) const {
    // Several rules may find a value, and a table of paths offers it once more: the first reading
    // that is concerned settles it.
    std::unordered_set<const ujson::value*> settled;
    bool changed = false;
    WalkReferences(document, [&](const Found& found) {
        if (settled.contains(&found.value)) return;
        const std::string text = found.value.to_string("");
        const std::optional<std::string> newText =
            rewriter.NewText(text, found.rule.strategy, AdditionOf(found.rule));
        if (!newText) return;
        settled.insert(&found.value);
        if (*newText == text) return;
        found.value.set_string(*newText);
        changed = true;
        const ReferenceSite site([&] { return PlaceOf(found, document); });
        ReportRewrite(rewriter.File(), site, text, *newText);
    });
    return changed;
}

bool CDependencyJSON::Rename(const std::string& oldPath, const std::string& newPath, bool) {
    MoveBindings(*this, oldPath, newPath);
    return true;
}

const RuleData* CDependencyJSON::FindRuleEntry(const std::string&, const std::string&) {
    return nullptr;
}

CDependencyBase::List CDependencyJSON::GetImplicitBindingFiles(const std::string&) {
    return BindingSuffixes(0);
}

CDependencyBase::List CDependencyJSON::GetExplicitBindingFiles(const std::string&) {
    return BindingSuffixes(kExplicitFlag);
}

CDependencyBase::List CDependencyJSON::BindingSuffixes(std::int32_t flag) const {
    List suffixes;
    for (const RuleData& rule : m_companions) {
        if ((rule.strategy & kExplicitFlag) == flag) suffixes.push_back(rule.extra);
    }
    return suffixes;
}

const CDependencyJSON::Rules* CDependencyJSON::FindRules(const std::string& member) const {
    const auto found = m_rules.find(member);
    return found == m_rules.end() ? nullptr : &found->second;
}

}  // namespace vexa
