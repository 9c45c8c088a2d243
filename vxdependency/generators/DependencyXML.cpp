#include "vxdependency/generators/DependencyXML.h"

#include <utility>

#include "vxdependency/generators/CompanionFiles.h"
#include "vxdependency/generators/GeneratorConfig.h"
#include "vxdependency/generators/GeneratorMessages.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

const std::string kHere;       // the node itself, as a path in an XmlDoc
const std::string kCompanion;  // the element name of companion-file rules

void OfferAttribute(const std::string& file, const XmlDoc& node, const std::string& attribute,
                    std::int32_t strategy, const auto& callback) {
    std::string text;
    if (!node.GetAttribute(kHere, attribute, text, "") || text.empty()) return;
    callback(file, text, strategy, node, attribute);
}

// An element that is being walked, and how far.
struct Level {
    explicit Level(XmlDoc node) : element(std::move(node)), count(element.GetChildCount(kHere)) {}

    XmlDoc element;
    std::size_t count;
    std::size_t next = 0;
};

}  // namespace

CDependencyXML::CDependencyXML(std::string extension)
    : CDependencyBase(std::move(extension)), m_rules(8) {
    m_rules.max_load_factor(1.0F);
}

void CDependencyXML::AddRule(const std::string& pattern, std::string attribute,
                             std::int32_t strategy) {
    m_rules[pattern].push_back({std::move(attribute), {strategy, "", 0}});
}

bool CDependencyXML::GenerateDependency(const std::string& file, List& dependencies,
                                        List& secondList) {
    std::string key;
    if (!KeyToRead(file, key)) return false;
    XmlDoc document;
    if (!Open(key, document)) return false;
    CollectCompanions(key, dependencies, secondList);
    WalkReferences(key, document,
                   [&](const std::string& from, const std::string& text, std::int32_t strategy,
                       const XmlDoc& node, const std::string& attribute) {
                       const ReferenceSite site([&] { return PlaceOf(node, attribute); });
                       CollectReference(from, text, strategy, site, dependencies, secondList);
                   });
    CDependencyManager* const manager = CDependencyManager::GetSingletonPtr();
    manager->MakeVectorUnique(dependencies);
    manager->MakeVectorUnique(secondList);
    return true;
}

bool CDependencyXML::Open(const std::string& key, XmlDoc& document) const {
    if (document.OpenFile(key)) return true;
    WarnUnreadable(key, m_extension, "XML", document.GetError());
    return false;
}

ReferencePlace CDependencyXML::PlaceOf(const XmlDoc& node, const std::string& attribute) {
    std::string element;
    node.GetName(element, kHere);
    const std::size_t offset = node.GetAttributeOffset(kHere, attribute);
    return {offset, node.LineOf(offset), element + " " + attribute};
}

void CDependencyXML::CollectCompanions(const std::string& key, List& dependencies,
                                       List& secondList) const {
    const Rules* const rules = FindRules(kCompanion);
    if (!rules) return;
    for (const Rule& rule : *rules) {
        CollectCompanion(key, rule.attribute, rule.data.strategy, dependencies, secondList);
    }
}

const RuleData* CDependencyXML::FindRuleEntry(const std::string& file, const std::string& name) {
    const std::size_t end = file.find_last_not_of('/');
    if (end == std::string::npos) return nullptr;
    // Without a separator rfind gives npos, which wraps to 0.
    const std::size_t begin = file.rfind('/', end) + 1;
    std::string element = file.substr(begin, end + 1 - begin);
    NormaliseElementName(element);

    const Rules* const rules = FindRules(element);
    if (!rules) return nullptr;
    for (const Rule& rule : *rules) {
        if (rule.attribute == name) return &rule.data;
    }
    return nullptr;
}

CDependencyBase::List CDependencyXML::GetImplicitBindingFiles(const std::string&) {
    return BindingSuffixes(0);
}

CDependencyBase::List CDependencyXML::GetExplicitBindingFiles(const std::string&) {
    return BindingSuffixes(kExplicitFlag);
}

CDependencyBase::List CDependencyXML::BindingSuffixes(std::int32_t flag) const {
    List suffixes;
    const Rules* const rules = FindRules(kCompanion);
    if (!rules) return suffixes;
    for (const Rule& rule : *rules) {
        if ((rule.data.strategy & kExplicitFlag) == flag) suffixes.push_back(rule.attribute);
    }
    return suffixes;
}

const CDependencyXML::Rules* CDependencyXML::FindRules(const std::string& key) const {
    const auto found = m_rules.find(key);
    return found == m_rules.end() ? nullptr : &found->second;
}

void CDependencyXML::VisitElement(const std::string& file, const XmlDoc& element,
                                  const Rules& rules, const ReferenceCallback& callback) {
    for (const Rule& rule : rules) {
        const std::int32_t strategy = rule.data.strategy & ~kChildFlag;
        if ((rule.data.strategy & kChildFlag) == 0) {
            OfferAttribute(file, element, rule.attribute, strategy, callback);
            continue;
        }
        const std::size_t count = element.GetChildCount(kHere);
        for (std::size_t i = 0; i < count; ++i) {
            OfferAttribute(file, element.SetChildDocument(kHere, i), rule.attribute, strategy,
                           callback);
        }
    }
}

void CDependencyXML::WalkReferences(const std::string& file, const XmlDoc& document,
                                    const ReferenceCallback& callback) const {
    std::string name;           // most elements have no rule: their names share this buffer
    std::vector<Level> levels;  // not recursive: depth comes from the file
    const auto enter = [&](XmlDoc element) {
        element.GetName(name, kHere);
        NormaliseElementName(name);
        if (const Rules* const rules = FindRules(name)) {
            VisitElement(file, element, *rules, callback);
        }
        levels.emplace_back(std::move(element));
    };
    for (std::size_t root = 0; root < document.GetRootCount(); ++root) {
        enter(document.GetRoot(root));
        while (!levels.empty()) {
            Level& level = levels.back();
            if (level.next == level.count) {
                levels.pop_back();
            } else {
                enter(level.element.SetChildDocument(kHere, level.next++));
            }
        }
    }
}

}  // namespace vexa
