#include "vxdependency/generators/DependencyRawAnimation.h"

#include <algorithm>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"
#include "vexa/io/RawAnimation.h"
#include "vxdependency/generators/ReferenceCollector.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/generators/SlotRenames.h"
#include "vxdependency/manager/DependencyManager.h"

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

// The resource that a reference names from a folder.
std::string Named(const std::string& folder, const std::string& reference) {
    return StoredForm(vxio::CombinePath(folder, reference));
}

ReferencePlace Place() {
    return {RawAnimation::kReferenceOffset, 0, "reference"};
}

// Writes the record with another reference, unless that is the one it has. The reference keeps its
// kind of separator.
bool Rewrite(const std::string& key, RawAnimation& record, std::string reference) {
    const bool windows = record.reference.find('\\') != std::string::npos &&
                         record.reference.find('/') == std::string::npos;
    if (windows) std::replace(reference.begin(), reference.end(), '/', '\\');
    if (reference == record.reference) return true;
    const std::string old = std::exchange(record.reference, std::move(reference));
    std::string error;
    if (!vxio::WriteRawAnimation(key, record, error)) return Fail(error);
    ReportRewrite(key, ReferenceSite(Place), old, record.reference);
    return true;
}

// The same to name a resource by its key.
bool RewriteToName(const std::string& key, RawAnimation& record, const std::string& target) {
    const std::string way = vxio::GetRelativeDir(target, vxio::GetDirName(key));
    return Rewrite(key, record, vxio::CombinePath(way, vxio::GetFileName(target)));
}

// After a move from `oldKey` to another folder: a reference follows its resource, and otherwise is
// changed if it would name nothing any more, or what a rename has put there.
bool Relocate(const std::string& key, RawAnimation& record, const std::string& oldKey) {
    const SlotRenames renames(oldKey, key);
    const std::string arrived = Named(vxio::GetDirName(key), record.reference);
    if (const std::string* const newName =
            renames.NewNameOf(Named(vxio::GetDirName(oldKey), record.reference)))
        return arrived == *newName || RewriteToName(key, record, *newName);
    if (Files().FileExists(arrived) && !renames.OldNameOf(arrived)) return true;
    const std::string way = vxio::GetRelativeDir(oldKey, vxio::GetDirName(key));
    return Rewrite(key, record, vxio::CombinePath(way, record.reference));
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

    std::string path = Named(vxio::GetDirName(file), record.reference);
    ReportPaths(file, record.reference, {&path, 1}, ReferenceSite(Place));
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
    if (!KeyOf(file, key) || !KeyOf(newPath, target) || !Read(key, record)) return false;
    if (record.reference.empty()) return true;
    const SlotRenames renames(oldPath, newPath);
    const std::string* const oldFile = renames.OldNameOf(key);
    const std::string named = Named(vxio::GetDirName(oldFile ? *oldFile : key), record.reference);
    const std::string* const newName = renames.NewNameOf(named);
    const bool follows = !newName || Named(vxio::GetDirName(key), record.reference) == *newName;
    return follows || RewriteToName(key, record, *newName);
}

bool CDependencyRawAnimation::Rename(const std::string& oldPath, const std::string& newPath, bool) {
    if (oldPath == newPath) return true;
    std::string oldKey;
    std::string key;
    RawAnimation record;
    if (!KeyOf(oldPath, oldKey) || !KeyOf(newPath, key) || !Read(key, record)) return false;
    const std::string oldFolder = vxio::GetDirName(oldKey);
    const std::string folder = vxio::GetDirName(key);
    if (record.reference.empty() || SameButForCase(oldFolder, folder)) return true;
    if (!Relocate(key, record, oldKey)) return false;
    // What is renamed with it has been followed in the same pass.
    CDependencyManager::GetSingletonPtr()->MarkRewritten(key);
    return true;
}

bool CDependencyRawAnimation::UpdateSelfReferences(const std::string& oldPath,
                                                   const std::string& newPath) {
    return Rename(oldPath, newPath, false);
}

const RuleData* CDependencyRawAnimation::FindRuleEntry(const std::string&, const std::string&) {
    return nullptr;
}

}  // namespace vexa
