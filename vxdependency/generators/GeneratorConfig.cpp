#include "vxdependency/generators/GeneratorConfig.h"

#include <stdexcept>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/JsonData.h"
#include "vxdependency/generators/DependencyAnimConfig.h"
#include "vxdependency/generators/DependencyAnimationJSON.h"
#include "vxdependency/generators/DependencyAnimationXML.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/DependencyScn.h"
#include "vxdependency/generators/DependencySkeletonJSON.h"
#include "vxdependency/generators/DependencySkeletonXML.h"
#include "vxdependency/generators/DependencySurf.h"
#include "vxdependency/generators/DependencyXML.h"
#include "vxdependency/generators/MemberWalk.h"

namespace vexa {

namespace {

// A place in a configuration file, for messages.
struct Place {
    const std::string& path;
    const vxio::JsonData& document;
    std::size_t offset;

    std::size_t Line() const { return document.LineOf(offset); }
};

// The value of a rule's member by its position.
const ujson::value& MemberAt(const ujson::object& rule, std::size_t index) {
    if (index >= rule.size()) throw std::out_of_range("invalid vector subscript");
    return rule[index].second;
}

// The manager owns generators from their construction on.
CDependencyXML* CreateXmlGenerator(const std::string& extension) {
    if (extension == "surf") return MakeGenerator<CDependencySurf>(extension);
    if (extension == "scn") return MakeGenerator<CDependencyScn>(extension);
    if (extension == "animconfig") return MakeGenerator<CDependencyAnimConfig>(extension);
    if (extension == "animation") return MakeGenerator<CDependencyAnimationXML>(extension);
    if (extension == "skeleton") return MakeGenerator<CDependencySkeletonXML>(extension);
    return MakeGenerator<CDependencyXML>(extension);
}

CDependencyJSON* CreateJsonGenerator(const std::string& extension) {
    if (extension == "animation") return MakeGenerator<CDependencyAnimationJSON>(extension);
    if (extension == "skeleton") return MakeGenerator<CDependencySkeletonJSON>(extension);
    return MakeGenerator<CDependencyJSON>(extension);
}

// A pattern that no element's name is ever brought to is a slip that would lose references.
void WarnOfDeadPattern(const std::string& pattern, const Place& place) {
    std::string key = pattern;
    NormaliseElementName(key);
    if (key == pattern) return;
    LogWarning("%s: line %zu: no element matches \"%s\": a numbered name is written \"%s\"",
               place.path.c_str(), place.Line(), pattern.c_str(), key.c_str());
}

void ReadRule(const ujson::object& rule, const Place& place, CDependencyXML& generator) {
    const std::string pattern = MemberAt(rule, 0).to_string("");
    std::string attribute = MemberAt(rule, 1).to_string("");
    const std::int32_t strategy = MemberAt(rule, 2).to_int32(0);
    WarnOfDeadPattern(pattern, place);
    generator.AddRule(pattern, std::move(attribute), strategy);
}

// An extra text that nothing reads is a slip that would lose references.
void WarnOfDeadExtra(const std::string& member, std::int32_t strategy, const Place& place) {
    if (member.empty() || (strategy & CDependencyJSON::kExtraFlag) != 0) return;
    LogWarning("%s: line %zu: the extra text of \"%s\" has no effect: its strategy lacks %d",
               place.path.c_str(), place.Line(), member.c_str(), CDependencyJSON::kExtraFlag);
}

void ReadRule(const ujson::object& rule, const Place& place, CDependencyJSON& generator) {
    const std::string member = MemberAt(rule, 0).to_string("");
    const ujson::value& second = MemberAt(rule, 1);
    if (rule[1].first != "extra") return generator.AddRule(member, "", second.to_int32(0));
    const std::int32_t strategy = MemberAt(rule, 2).to_int32(0);
    WarnOfDeadExtra(member, strategy, place);
    generator.AddRule(member, second.to_string(""), strategy);
}

const char* RuleShape(const CDependencyXML&) {
    return "fewer than three members";
}
const char* RuleShape(const CDependencyJSON&) {
    return "fewer than two members, or fewer than three with \"extra\"";
}

template <class Generator>
void ReadRules(const ujson::value& list, const std::string& path, const vxio::JsonData& document,
               Generator& generator) {
    for (const ujson::value& element : list.to_array()) {
        const Place place{path, document, element.offset()};
        try {
            ReadRule(element.to_object(), place, generator);
        } catch (const std::out_of_range&) {
            LogError("%s: line %zu: a rule of \"%s\" has %s", path.c_str(), place.Line(),
                     generator.GetExtension().c_str(), RuleShape(generator));
            throw;
        }
    }
}

void ReadIgnored(const ujson::value&, CDependencyXML&) {}  // means nothing to this family
void ReadIgnored(const ujson::value& list, CDependencyJSON& generator) {
    for (const ujson::value& name : list.to_array()) {
        if (name.is_string()) generator.AddIgnored(name.to_string(""));
    }
}

// Why a file cannot be used; "" also for one that is not there: that
// is a package without generators.
std::string LoadDocument(const std::string& path, vxio::JsonData& document) {
    if (document.Load(path) == -1) {
        const bool exists = InterfaceBox::Instance().GetFileService().GetState(path).exists;
        return exists ? path + ": " + document.GetError() : "";
    }
    if (document.GetRoot()->is_object()) return "";
    return path + ": not an object with one member per extension";
}

template <class Create>
std::string LoadGenerators(const std::string& path, const Create& create) {
    vxio::JsonData document;
    std::string error = LoadDocument(path, document);
    if (!error.empty() || !document.GetRoot()) return error;
    for (auto& [extension, rules] : document.GetRoot()->to_object()) {
        if (extension.empty()) continue;
        auto* const generator = create(extension);
        if (!rules.is_object()) continue;
        vxio::JsonOutline outline;
        outline.Outline(rules);
        WalkMembers(outline, [&](std::string_view name, const vxio::JsonOutline::Entry& member,
                                 const bool&) {
            if (name == "name_list") ReadRules(*member.value, path, document, *generator);
            if (name == "ignore") ReadIgnored(*member.value, *generator);
            return true;
        });
    }
    return "";
}

}  // namespace

void NormaliseElementName(std::string& name) {
    const std::size_t last = name.find_last_not_of("0123456789");
    if (last == std::string::npos) return;
    const std::size_t length = last + 1;
    if (length == name.size() && name[last] != '_') return;
    name.replace(length, std::string::npos, 1, '*');
}

std::string LoadXmlGenerators(const std::string& path) {
    return LoadGenerators(path, CreateXmlGenerator);
}

std::string LoadJsonGenerators(const std::string& path) {
    return LoadGenerators(path, CreateJsonGenerator);
}

}  // namespace vexa
