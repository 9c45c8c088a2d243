#include "vxdependency/generators/ReferenceCollector.h"

#include <algorithm>
#include <utility>

#include "vexa/common/InterfaceBox.h"
#include "vexa/os/WindowsApi.h"
#include "vxdependency/rename/FileNameProcessor.h"

namespace vexa {

namespace {

// The keys that candidates name. Two candidates often are two spellings of one key, and most
// attribute values are no path at all: each key costs one look at the disk, not one per spelling.
std::vector<std::string> KeysOf(const std::vector<std::string>& candidates) {
    IFileService& files = InterfaceBox::Instance().GetFileService();
    std::vector<std::string> keys;
    for (const std::string& candidate : candidates) {
        std::string key;
        if (!files.KeyOfReference(candidate, key) || key.empty() || key.size() > MAX_PATH) continue;
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
    }
    return keys;
}

}  // namespace

void CollectReference(const std::string& file, const std::string& text, std::int32_t mask,
                      std::vector<std::string>& dependencies,
                      std::vector<std::string>& secondList) {
    auto [candidates, bound] = FileNameProcessor::Execute(file, text, mask, PathGoal::All);
    IFileService& files = InterfaceBox::Instance().GetFileService();
    for (std::string& key : KeysOf(candidates)) {
        if (files.FileExists(key)) dependencies.push_back(std::move(key));
    }
    std::move(bound.begin(), bound.end(), std::back_inserter(secondList));
}

}  // namespace vexa
