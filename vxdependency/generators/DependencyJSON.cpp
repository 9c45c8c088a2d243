#include "vxdependency/generators/DependencyJSON.h"

#include <optional>
#include <unordered_set>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/threading/ThreadSpare.h"
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
const std::string& AdditionOf(const RuleData& rule) {
    static const std::string kNothing;
    return (rule.strategy & CDependencyJSON::kExtraFlag) != 0 ? rule.extra : kNothing;
}

// A string that a rule governs. `name` is what the walk offered it under.
struct Found {
    std::string_view name;
    const vxio::JsonOutline::Entry& entry;
    const RuleData& rule;
};

ReferencePlace PlaceOf(const Found& found, std::size_t offset, std::size_t line) {
    std::string rule = "member \"" + std::string(found.entry.name) + '"';
    if (found.name != found.entry.name) rule += " (path table)";
    return {offset, line, std::move(rule)};
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
void CDependencyJSON::WalkReferences(const vxio::JsonOutline& outline,
                                     const Callback& callback) const {
    WalkMembers(outline,
                [&](std::string_view name, const vxio::JsonOutline::Entry& entry, bool& stop) {
                    if (m_ignored.contains(entry.name)) return false;
                    const Rules* const rules = entry.isString ? FindRules(name) : nullptr;
                    if (!rules) return true;
                    for (const RuleData& rule : *rules) {
                        if (MarksPathTable(rule)) {
                            stop = true;
                            return false;
                        }
                        callback(Found{name, entry, rule});
                    }
                    return true;
                });
}

bool CDependencyJSON::GenerateDependency(const std::string& file, List& dependencies,
                                         List& secondList) {
    std::string key;
    if (!KeyToRead(file, key)) return false;
    const ThreadSpare<vxio::JsonOutline> outline;
    if (!outline->Load(key)) {
        WarnUnreadable(key, m_extension, "JSON",
                       [&outline]() -> const std::string& { return outline->GetError(); });
        return false;
    }
    for (const RuleData& companion : m_companions) {
        CollectCompanion(key, companion.extra, companion.strategy, dependencies, secondList);
    }
    std::string text;
    WalkReferences(*outline, [&](const Found& found) {
        text = found.entry.Text();
        const std::string& addition = AdditionOf(found.rule);
        if (text.empty() && addition.empty()) return;
        const ReferenceSite site([&] {
            const std::size_t offset = outline->OffsetOf(found.entry);
            return PlaceOf(found, offset, outline->LineOf(offset));
        });
        CollectReference(key, text, found.rule.strategy, site, dependencies, secondList, addition);
    });
    CDependencyManager* const manager = CDependencyManager::GetSingletonPtr();
    manager->MakeVectorUnique(dependencies);
    manager->MakeVectorUnique(secondList);
    return true;
}

bool CDependencyJSON::Load(const std::string& key, vxio::JsonData& document) const {
    if (document.Load(key) != -1) return true;
    WarnUnreadable(key, m_extension, "JSON",
                   [&document]() -> const std::string& { return document.GetError(); });
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
    vxio::JsonOutline outline;
    outline.Outline(*document.GetRoot());
    WalkReferences(outline, [&](const Found& found) {
        ujson::value& value = *found.entry.value;
        if (settled.contains(&value)) return;
        const std::string text = value.to_string("");
        const std::optional<std::string> newText =
            rewriter.NewText(text, found.rule.strategy, AdditionOf(found.rule));
        if (!newText) return;
        settled.insert(&value);
        if (*newText == text) return;
        value.set_string(*newText);
        changed = true;
        const ReferenceSite site([&] {
            const std::size_t offset = value.offset() + 1;  // behind the quote
            return PlaceOf(found, offset, document.LineOf(offset));
        });
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

const CDependencyJSON::Rules* CDependencyJSON::FindRules(std::string_view member) const {
    const auto found = m_rules.find(member);
    return found == m_rules.end() ? nullptr : &found->second;
}

}  // namespace vexa
