#include "vxdependency/generators/GeneratorConfig.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vxdependency/generators/DependencyAnimConfig.h"
#include "vxdependency/generators/DependencyAnimationXML.h"
#include "vxdependency/generators/DependencyScn.h"
#include "vxdependency/generators/DependencySkeletonXML.h"
#include "vxdependency/generators/DependencySurf.h"
#include "vxdependency/generators/DependencyXML.h"

namespace vexa {

namespace {

// A place in a configuration file, for messages.
struct Place {
    const std::string& path;
    const std::string& source;
    std::size_t offset;

    std::size_t Line() const {
        const auto end =
            source.begin() + static_cast<std::ptrdiff_t>(std::min(offset, source.size()));
        return 1 + static_cast<std::size_t>(std::count(source.begin(), end, '\n'));
    }
};

// What a walk still has to visit: a member, or (without a name) an element of an array.
using Pending = std::pair<const std::string*, const ujson::value*>;

void PushContents(const ujson::value& value, std::vector<Pending>& pending) {
    const ujson::object& members = value.to_object();
    for (auto member = members.rbegin(); member != members.rend(); ++member) {
        pending.emplace_back(&member->first, &member->second);
    }
    const ujson::array& elements = value.to_array();
    for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
        pending.emplace_back(nullptr, &*element);
    }
}

// The value of a rule's member by its position.
const ujson::value& MemberAt(const ujson::object& rule, std::size_t index) {
    if (index >= rule.size()) throw std::out_of_range("invalid vector subscript");
    return rule[index].second;
}

// The manager owns generators from their construction on.
CDependencyXML* CreateXmlGenerator(const std::string& extension) {
    if (extension == "surf") return new CDependencySurf(extension);
    if (extension == "scn") return new CDependencyScn(extension);
    if (extension == "animconfig") return new CDependencyAnimConfig(extension);
    if (extension == "animation") return new CDependencyAnimationXML(extension);
    if (extension == "skeleton") return new CDependencySkeletonXML(extension);
    return new CDependencyXML(extension);
}

// A pattern that no element's name is ever brought to is a slip that would lose references.
void WarnOfDeadPattern(const std::string& pattern, const Place& place) {
    std::string key = pattern;
    NormaliseElementName(key);
    if (key == pattern) return;
    LogWarning("%s: line %zu: no element matches \"%s\": a numbered name is written \"%s\"",
               place.path.c_str(), place.Line(), pattern.c_str(), key.c_str());
}

void ReadXmlRule(const ujson::value& element, const Place& place, CDependencyXML& generator) {
    const ujson::object& rule = element.to_object();
    const std::string pattern = MemberAt(rule, 0).to_string("");
    std::string attribute = MemberAt(rule, 1).to_string("");
    const std::int32_t strategy = MemberAt(rule, 2).to_int32(0);
    WarnOfDeadPattern(pattern, place);
    generator.AddRule(pattern, std::move(attribute), strategy);
}

void ReadXmlRules(const ujson::value& list, const std::string& path, const std::string& source,
                  CDependencyXML& generator) {
    for (const ujson::value& element : list.to_array()) {
        const Place place{path, source, element.offset()};
        try {
            ReadXmlRule(element, place, generator);
        } catch (const std::out_of_range&) {
            LogError("%s: line %zu: a rule of \"%s\" has fewer than three members", path.c_str(),
                     place.Line(), generator.GetExtension().c_str());
            throw;
        }
    }
}

// False when there is nothing to load. A file that is there and cannot be used is an error that
// its author must hear of; one that is not there is a package without generators.
bool LoadDocument(const std::string& path, vxio::JsonData& document) {
    if (document.Load(path) != -1) {
        if (document.GetRoot()->is_object()) return true;
        LogError("%s: not an object with one member per extension", path.c_str());
    } else if (InterfaceBox::Instance().GetFileService().GetState(path).exists) {
        LogError("%s: %s", path.c_str(), document.GetError().c_str());
    }
    return false;
}

}  // namespace

void NormaliseElementName(std::string& name) {
    const std::size_t last = name.find_last_not_of("0123456789");
    if (last == std::string::npos) return;
    const std::size_t length = last + 1;
    if (length == name.size() && name[last] != '_') return;
    name.replace(length, std::string::npos, 1, '*');
}

void WalkMembers(const ujson::value& object, const MemberVisitor& visit) {
    if (!object.is_object()) return;
    std::vector<Pending> pending;
    PushContents(object, pending);
    while (!pending.empty()) {
        const auto [name, value] = pending.back();
        pending.pop_back();
        if (!name || visit(*name, *value)) PushContents(*value, pending);
    }
}

void LoadXmlGenerators(const std::string& path) {
    vxio::JsonData document;
    if (!LoadDocument(path, document)) return;
    for (const auto& [extension, rules] : document.GetRoot()->to_object()) {
        if (extension.empty()) continue;
        CDependencyXML* const generator = CreateXmlGenerator(extension);
        // Other members, "ignore" among them, mean nothing to this family.
        WalkMembers(rules, [&](const std::string& name, const ujson::value& value) {
            if (name == "name_list") ReadXmlRules(value, path, document.GetSource(), *generator);
            return true;
        });
    }
}

}  // namespace vexa
