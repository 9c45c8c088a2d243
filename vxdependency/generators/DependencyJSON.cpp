#include "vxdependency/generators/DependencyJSON.h"

#include <utility>

#include "vxdependency/generators/CompanionFiles.h"
#include "vxdependency/generators/GeneratorMessages.h"
#include "vxdependency/generators/MemberWalk.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"
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
    const ujson::value& value;
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
    if (document.Load(key) == -1) {
        WarnUnreadable(key, m_extension, "JSON", document.GetError());
        return false;
    }
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

bool CDependencyJSON::RemoveReference(const std::string& file, const std::string& reference) {
    LogNotRewritten(file, reference);
    return true;
}

bool CDependencyJSON::RenameReference(const std::string& file, const std::string& oldPath,
                                      const std::string&) {
    LogNotRewritten(file, oldPath);
    return true;
}

bool CDependencyJSON::RenameReferenceInData(vxio::JsonData&, const std::string& oldPath,
                                            const std::string&) {
    LogNotRewritten("a loaded document", oldPath);
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
