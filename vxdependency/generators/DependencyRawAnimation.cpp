#include "vxdependency/generators/DependencyRawAnimation.h"

#include <algorithm>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"
#include "vexa/io/RawAnimation.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"

namespace vexa {

using vxio::RawAnimation;

namespace {

IFileService& Files() {
    return InterfaceBox::Instance().GetFileService();
}

bool Fail(const std::string& reason) {
    Log(1, "%s", reason.c_str());
    return false;
}

bool Read(const std::string& file, RawAnimation& record) {
    std::string error;
    return vxio::ReadRawAnimation(file, record, error) || Fail(error);
}

// Writes the record with another reference, unless that is the one it has. The reference keeps its
// kind of separator.
bool Rewrite(const std::string& file, RawAnimation& record, std::string reference) {
    const bool windows = record.reference.find('\\') != std::string::npos &&
                         record.reference.find('/') == std::string::npos;
    if (windows) std::replace(reference.begin(), reference.end(), '/', '\\');
    if (reference == record.reference) return true;
    record.reference = std::move(reference);
    std::string error;
    return vxio::WriteRawAnimation(file, record, error) || Fail(error);
}

// False for a path that leaves the resource root: no relative path leads there.
bool KeyOf(const std::string& path, std::string& key) {
    return Files().MakeRelative(path, key) && !key.empty();
}

// The form of a path that the store uses.
std::string StoredForm(const std::string& path) {
    std::string form(path.size() + 1, '\0');  // which is never longer than the path
    const bool fits = Files().NormalisePath(path.c_str(), form.data(), form.size());
    form.resize(fits ? form.find('\0') : 0);
    return form;
}

bool SameButForCase(const std::string& left, const std::string& right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::ranges::equal(left, right, {}, lower, lower);
}

}  // namespace

bool CDependencyRawAnimation::GenerateDependency(const std::string& file, List& dependencies,
                                                 List&) {
    if (file.empty()) return false;
    RawAnimation record;
    std::string error;
    if (!vxio::ReadRawAnimationHead(file, record, error)) return Fail(error);
    if (record.reference.empty()) return true;

    std::string path = StoredForm(vxio::CombinePath(vxio::GetDirName(file), record.reference));
    const ReferenceSite site([] {
        return ReferencePlace{RawAnimation::kReferenceOffset, 0, "reference"};
    });
    ReportPaths(file, record.reference, {path}, site);
    dependencies.push_back(std::move(path));
    return true;
}

bool CDependencyRawAnimation::RemoveReference(const std::string&, const std::string&) {
    return true;
}

bool CDependencyRawAnimation::RenameReference(const std::string& file, const std::string& oldPath,
                                              const std::string& newPath) {
    std::string key;
    std::string target;
    RawAnimation record;
    if (!KeyOf(file, key) || !KeyOf(newPath, target) || !Read(file, record)) return false;
    const std::string folder = vxio::GetDirName(key);
    const std::string named = StoredForm(vxio::CombinePath(folder, record.reference));
    if (record.reference.empty() || named != StoredForm(oldPath)) return true;

    const std::string way = vxio::GetRelativeDir(target, folder);
    return Rewrite(file, record, vxio::CombinePath(way, vxio::GetFileName(target)));
}

bool CDependencyRawAnimation::Rename(const std::string& oldPath, const std::string& newPath, bool) {
    if (oldPath == newPath) return true;
    std::string oldKey;
    std::string newKey;
    if (!KeyOf(oldPath, oldKey) || !KeyOf(newPath, newKey)) return false;
    RawAnimation record;
    if (!Read(newPath, record)) return false;
    std::string oldFolder = vxio::GetDirName(oldKey);
    const std::string newFolder = vxio::GetDirName(newKey);
    if (SameButForCase(oldFolder, newFolder)) oldFolder = newFolder;

    const bool resolves = Files().FileExists(vxio::CombinePath(newFolder, record.reference));
    if (record.reference.empty() || oldFolder == newFolder || resolves) return true;
    const std::string way = vxio::GetRelativeDir(oldFolder, newFolder);
    return Rewrite(newPath, record, vxio::CombinePath(way, record.reference));
}

bool CDependencyRawAnimation::UpdateSelfReferences(const std::string& oldPath,
                                                   const std::string& newPath) {
    return Rename(oldPath, newPath, false);
}

const RuleData* CDependencyRawAnimation::FindRuleEntry(const std::string&, const std::string&) {
    return nullptr;
}

}  // namespace vexa
