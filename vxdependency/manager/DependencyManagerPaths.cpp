// The manager's path utilities.

#include <xxhash.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/os/WindowsApi.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

namespace {

// The places in a list of the entries that have been kept, by their hash. For many lists, one after
// the other.
class PlaceTable {
public:
    // Forgets all; `size` entries are to come at most.
    void Clear(std::size_t size) {
        const std::size_t slots = std::bit_ceil(2 * size);
        if (m_slots.size() < slots) m_slots.resize(slots);
        m_mask = slots - 1;
        std::fill_n(m_slots.begin(), slots, Slot{});
    }

    // False when the list holds the entry at a place that was added; otherwise it is added as the
    // entry at `place`.
    bool Add(const CDependencyManager::List& list, const std::string& entry, std::size_t place) {
        const std::uint64_t hash = XXH3_64bits(entry.data(), entry.size());
        std::size_t at = hash & m_mask;
        for (; m_slots[at].place != kFree; at = (at + 1) & m_mask) {
            if (m_slots[at].hash == hash && list[m_slots[at].place] == entry) return false;
        }
        m_slots[at] = {hash, place};
        return true;
    }

private:
    static constexpr std::size_t kFree = static_cast<std::size_t>(-1);

    struct Slot {
        std::uint64_t hash = 0;
        std::size_t place = kFree;
    };
    std::vector<Slot> m_slots;
    std::size_t m_mask = 0;
};

// Drops the entries of which `isNew` does not say, when it is told how many are kept up to there,
// that they are to be kept as well.
template <class IsNew>
void KeepFirst(CDependencyManager::List& list, const IsNew& isNew) {
    std::size_t kept = 0;
    for (std::string& entry : list) {
        if (!isNew(entry, kept)) continue;
        if (&list[kept] != &entry) list[kept] = std::move(entry);
        ++kept;
    }
    list.resize(kept);
}

}  // namespace

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
    constexpr std::string_view kExtensions[] = {"dds", "vol", "tga", "bmp", "jpg",
                                                "spr", "png", "exr", "hdr", "ktx"};
    const std::size_t length = kExtensions[0].size();
    if (path.size() <= length || path[path.size() - length - 1] != '.') return false;
    char extension[3];
    std::transform(path.end() - 3, path.end(), extension,
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return std::ranges::find(kExtensions, std::string_view(extension, length)) !=
           std::ranges::end(kExtensions);
}

std::string CDependencyManager::DoNothing_GBKToUTF8(const char* text) {
    return text;
}

std::string CDependencyManager::DoNothing_UTF8ToGBK(const char* text) {
    return text;
}

void CDependencyManager::MakeVectorUnique(List& list) {
    constexpr std::size_t kVeryFew = 4;  // up to here comparing is cheaper than hashing
    if (list.size() <= kVeryFew) {
        KeepFirst(list, [&list](const std::string& entry, std::size_t kept) {
            const auto end = list.begin() + static_cast<std::ptrdiff_t>(kept);
            return std::find(list.begin(), end, entry) == end;
        });
        return;
    }
    thread_local PlaceTable places;
    places.Clear(list.size());
    KeepFirst(list, [&list](const std::string& entry, std::size_t kept) {
        return places.Add(list, entry, kept);
    });
}

}  // namespace vexa
