#include "vxdep/FilesByName.h"

#include <algorithm>

#include "vxdep/Project.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vxdep {

namespace {

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

}  // namespace

std::string_view NameOfKey(std::string_view key) {
    return key.substr(key.rfind('/') + 1);
}

FilesByName::FilesByName(const std::vector<std::string>& names) {
    for (const std::string& name : names) m_files.try_emplace(Lower(name));
    if (m_files.empty()) return;
    Project::Store().ForEachFile(
        "", [this](std::string_view file, const vexa::vxdependency::CatalogueEntry&) {
            Add(file);
            return true;
        });
}

void FilesByName::Add(std::string_view file) {
    const auto wanted = m_files.find(Lower(NameOfKey(file)));
    if (wanted != m_files.end()) wanted->second.emplace_back(file);
}

std::string FilesByName::Only(const std::string& name) const {
    const std::vector<std::string>& files = m_files.at(Lower(name));
    const auto isExact = [&name](const std::string& file) { return NameOfKey(file) == name; };
    const auto exact = std::ranges::count_if(files, isExact);
    if (exact == 1) return *std::ranges::find_if(files, isExact);
    return exact == 0 && files.size() == 1 ? files.front() : "";
}

}  // namespace vxdep
