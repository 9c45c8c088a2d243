// The manager's path utilities.

#include <algorithm>
#include <cctype>
#include <cstring>
#include <unordered_set>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/os/WindowsApi.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

bool CDependencyManager::SafeCopy(char* destination, int capacity, const char* source) {
    const std::size_t length = std::strlen(source);
    if (length > static_cast<std::size_t>(capacity)) {
        LogError("Path Name Too Long:%s", source);
        return false;
    }
    if (!destination) return false;
    std::memcpy(destination, source, length + 1);
    return true;
}

bool CDependencyManager::MakeAbsolutePath(char* output, const char* input) {
    if (std::strlen(input) > MAX_PATH) return false;
    if (!PathIsRelativeA(input)) return SafeCopy(output, MAX_PATH, input);

    InterfaceBox& box = InterfaceBox::Instance();
    const std::string key = DoNothing_UTF8ToGBK(box.GetResourcePath(input).c_str());
    if (key.empty()) return false;
    return PathCombineA(output, box.GetResourceRoot().c_str(), key.c_str()) != nullptr;
}

bool CDependencyManager::MakeRelativePath(char* output, const char* input) {
    std::string key;
    if (std::strlen(input) > MAX_PATH) return false;
    if (!InterfaceBox::Instance().GetFileService().MakeRelative(input, key)) return false;
    // The key is at most as long as its input.
    return SafeCopy(output, MAX_PATH, DoNothing_GBKToUTF8(key.c_str()).c_str());
}

std::string CDependencyManager::MakeRelativeToResPath(const std::string& path,
                                                      const std::string& base) {
    IFileService& files = InterfaceBox::Instance().GetFileService();
    std::string key;
    std::string directory;
    if (!files.MakeRelative(path, key) || !files.MakeRelative(base, directory)) return "";

    if (!directory.empty()) directory += '/';
    std::size_t common = 0;  // length of the segments that both begin with
    for (std::size_t i = 0; i < key.size() && i < directory.size() && key[i] == directory[i]; ++i) {
        if (key[i] == '/') common = i + 1;
    }
    std::string result;
    for (std::size_t i = common; i < directory.size(); ++i) {
        if (directory[i] == '/') result += "../";
    }
    return result + key.substr(common);
}

bool CDependencyManager::IsImage(const std::string& path) {
    static const std::unordered_set<std::string> kExtensions = {"dds", "vol", "tga", "bmp", "jpg",
                                                                "spr", "png", "exr", "hdr", "ktx"};
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos) return false;
    std::string extension = path.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return kExtensions.count(extension) != 0;
}

std::string CDependencyManager::DoNothing_GBKToUTF8(const char* text) {
    return text;
}

std::string CDependencyManager::DoNothing_UTF8ToGBK(const char* text) {
    return text;
}

void CDependencyManager::MakeVectorUnique(List& list) {
    constexpr std::size_t kFew = 16;  // up to here comparing is cheaper than hashing
    if (list.size() <= kFew) {
        auto end = list.begin();
        for (auto entry = list.begin(); entry != list.end(); ++entry) {
            if (std::find(list.begin(), end, *entry) != end) continue;
            if (end != entry) *end = std::move(*entry);
            ++end;
        }
        list.erase(end, list.end());
        return;
    }
    std::unordered_set<std::string> seen;
    std::erase_if(list, [&seen](const std::string& entry) { return !seen.insert(entry).second; });
}

}  // namespace vexa
