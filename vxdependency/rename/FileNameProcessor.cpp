#include "vxdependency/rename/FileNameProcessor.h"

#include <utility>

#include "vxdependency/rename/Strategies.h"

namespace vexa {

namespace {

// The strategies in their order of running: first the readings of the text as written, so that the
// companions of each are found; then what takes parts off the name.
constexpr std::pair<FNStrategyType, strategies::Strategy> s_process_map[] = {
    {FNStrategyType::Root, strategies::Root},
    {FNStrategyType::Directory, strategies::Directory},
    {FNStrategyType::Binding, strategies::Binding},
    {FNStrategyType::Effect, strategies::Effect},
    {FNStrategyType::Anchored, strategies::Anchored},
    {FNStrategyType::Selector, strategies::Selector},
    {FNStrategyType::ImageType, strategies::ImageType},
    {FNStrategyType::RawAnimation, strategies::RawAnimation},
    {FNStrategyType::TerrainTool, strategies::TerrainTool},
};

}  // namespace

std::pair<FileNameProcessor::List, FileNameProcessor::List> FileNameProcessor::Execute(
    const std::string& file, const std::string& text, int mask, PathGoal goal) {
    strategies::Found found;
    std::string name = text;
    for (const auto& [key, strategy] : s_process_map) {
        if ((mask & static_cast<int>(key)) != 0) strategy(file, name, found);
    }
    if (goal == PathGoal::WorkingName) found.paths.clear();
    found.paths.push_back(std::move(name));
    return {std::move(found.paths), std::move(found.companions)};
}

}  // namespace vexa
