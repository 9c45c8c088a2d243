#include "vxdep/EdgeCheck.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

#include "vxdep/Project.h"
#include "vxdependency/store/GeneralDependency.h"
#include "vxdependency/store/GraphReader.h"

namespace vxdep {

namespace {

using Names = std::vector<std::string>;

// The edges as pairs of numbers: a list is read once however many edges it has, where asking of
// each edge for its other end would read the inverse list of a common texture once per user.
class EdgeChecker {
public:
    std::vector<Problem> Run(const KnownFiles& files);

private:
    using Number = std::uint32_t;
    using Edge = std::pair<Number, Number>;  // the file that refers, what it refers to

    Number NumberOf(const std::string& name);
    void ReadForward(const KnownFiles& files);
    void FindCollidingNames();
    void ReadInverse();
    void CompareDirections();
    bool Collides(const Edge& edge) const;

    Names m_names;
    std::unordered_map<std::string, Number> m_numbers;
    std::vector<Edge> m_forward;
    std::vector<Edge> m_inverse;
    std::unordered_set<std::string> m_colliding;
    std::vector<Problem> m_problems;
};

EdgeChecker::Number EdgeChecker::NumberOf(const std::string& name) {
    const auto [place, isNew] = m_numbers.try_emplace(name, static_cast<Number>(m_names.size()));
    if (isNew) m_names.push_back(name);
    return place->second;
}

void EdgeChecker::ReadForward(const KnownFiles& files) {
    for (const auto& [key, entry] : files) {
        const Number from = NumberOf(key);
        // A file that lost its last reference keeps its list; it stands for nothing.
        if (entry.references == 0) continue;
        Names list;
        Project::Store().GetDependency(key, list);
        for (const std::string& name : list) m_forward.emplace_back(from, NumberOf(name));
    }
}

// Texts of inverse lists and of stamps end in the mark of their kind.
std::string WithoutMark(std::string text) {
    if (text.ends_with('#') || text.ends_with('!')) text.pop_back();
    return text;
}

void EdgeChecker::FindCollidingNames() {
    for (const auto& [first, second] : vexa::vxdependency::FindCollisions(m_names)) {
        m_problems.push_back({ProblemKind::Colliding, first, second});
        m_colliding.insert({first, WithoutMark(first), second, WithoutMark(second)});
    }
}

void EdgeChecker::ReadInverse() {
    // Names that only inverse lists hold join while we go.
    for (Number to = 0; to < m_names.size(); ++to) {
        Names list;
        Project::Store().GetInverseDependency(m_names[to], list);
        for (const std::string& name : list) m_inverse.emplace_back(NumberOf(name), to);
    }
}

// What two colliding names mix up is told once, as the collision.
bool EdgeChecker::Collides(const Edge& edge) const {
    return m_colliding.count(m_names[edge.first]) != 0 ||
           m_colliding.count(m_names[edge.second]) != 0;
}

void EdgeChecker::CompareDirections() {
    for (std::vector<Edge>* edges : {&m_forward, &m_inverse}) {
        std::sort(edges->begin(), edges->end());
        edges->erase(std::unique(edges->begin(), edges->end()), edges->end());
    }
    std::vector<Edge> different;
    std::set_symmetric_difference(m_forward.begin(), m_forward.end(), m_inverse.begin(),
                                  m_inverse.end(), std::back_inserter(different));
    for (const Edge& edge : different) {
        if (Collides(edge)) continue;
        m_problems.push_back({ProblemKind::OneSided, m_names[edge.first], m_names[edge.second]});
    }
}

std::vector<Problem> EdgeChecker::Run(const KnownFiles& files) {
    ReadForward(files);
    FindCollidingNames();
    ReadInverse();
    CompareDirections();
    return std::move(m_problems);
}

}  // namespace

std::vector<Problem> CheckEdges(const KnownFiles& files) {
    return EdgeChecker().Run(files);
}

}  // namespace vxdep
