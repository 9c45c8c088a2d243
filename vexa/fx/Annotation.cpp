#include "vexa/fx/Annotation.h"

#include <utility>

namespace vexa::fx {

Annotation::Annotation(std::vector<Entry> entries) : m_entries(std::move(entries)) {}

std::size_t Annotation::GetParamCount() const {
    return m_entries.size();
}

bool Annotation::GetParamInfo(std::size_t index, ParamInfo& info) const {
    if (index >= m_entries.size()) return false;
    info = m_entries[index].info;
    return true;
}

const std::string* Annotation::GetString(std::size_t index) const {
    if (index >= m_entries.size() || !m_entries[index].hasString) return nullptr;
    return &m_entries[index].string;
}

}  // namespace vexa::fx
