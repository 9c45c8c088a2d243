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

const std::string kCompanion;  // the element name of companion-file rules

// The form of an element's name that rules are filed under; `buffer` holds it where it differs.
std::string_view RuleNameOf(std::string_view name, std::string& buffer) {
    const bool numbered =
        !name.empty() && (name.back() == '_' || (name.back() >= '0' && name.back() <= '9'));
    if (!numbered) return name;
    buffer = name;
    NormaliseElementName(buffer);
    return buffer;
}

// Calls `offer` with the text of an attribute that is there and not empty.
template <class Offer>
void OfferAttribute(XmlElement element, const std::string& attribute, std::string& text,
                    const Offer& offer) {
    const char* const value = element.Attribute(attribute);
    if (!value || *value == '\0') return;
    text = value;
    offer(element);
}

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
    WalkReferences(document, [&](const Reference& reference) {
        const ReferenceSite site([&] { return PlaceOf(document, reference); });
        CollectReference(key, reference.text, reference.strategy, site, dependencies, secondList);
    });
    CDependencyManager* const manager = CDependencyManager::GetSingletonPtr();
    manager->MakeVectorUnique(dependencies);
    manager->MakeVectorUnique(secondList);
    return true;
}

bool CDependencyXML::Open(const std::string& key, XmlDoc& document) const {
    if (document.OpenFile(key)) return true;
    WarnUnreadable(key, m_extension, "XML",
                   [&document]() -> const std::string& { return document.GetError(); });
    return false;
}

ReferencePlace CDependencyXML::PlaceOf(const XmlDoc& document, const Reference& reference) {
    const std::size_t offset =
        document.ViewOf(reference.element).GetAttributeOffset("", reference.attribute);
    return {offset, document.LineOf(offset),
            std::string(reference.element.Name()) + ' ' + reference.attribute};
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

const CDependencyXML::Rules* CDependencyXML::FindRules(std::string_view key) const {
    const auto found = m_rules.find(key);
    return found == m_rules.end() ? nullptr : &found->second;
}

void CDependencyXML::WalkReferences(const XmlDoc& document,
                                    const ReferenceCallback& callback) const {
    std::string name;  // both are needed for many elements
    std::string text;
    const Rules* rules = nullptr;
    std::string_view before;  // the last element's name, which is the next one's mostly
    for (XmlElement at = document.GetRoot(0).GetElement(); at; at = at.Next()) {
        if (const std::string_view own = at.Name(); own != before) {
            rules = FindRules(RuleNameOf(own, name));
            before = own;
        }
        if (!rules) continue;
        for (const Rule& rule : *rules) {
            const auto offer = [&](XmlElement holder) {
                callback({text, rule.data.strategy & ~kChildFlag, holder, rule.attribute});
            };
            if ((rule.data.strategy & kChildFlag) == 0) {
                OfferAttribute(at, rule.attribute, text, offer);
                continue;
            }
            for (XmlElement child = at.FirstChild(); child; child = child.NextSibling()) {
                OfferAttribute(child, rule.attribute, text, offer);
            }
        }
    }
}

}  // namespace vexa
