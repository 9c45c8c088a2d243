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

NameReadings FileNameProcessor::Read(const std::string& file, const std::string& text, int mask) {
    strategies::Found found;
    NameReadings readings;
    std::string name = text;
    for (const auto& [key, strategy] : s_process_map) {
        const int bit = static_cast<int>(key);
        if ((mask & bit) == 0) continue;
        strategy(file, name, found);
        readings.strategies.resize(found.paths.size(), bit);
    }
    readings.paths = std::move(found.paths);
    readings.companions = std::move(found.companions);
    readings.paths.push_back(std::move(name));
    readings.strategies.push_back(0);
    return readings;
}

std::pair<FileNameProcessor::List, FileNameProcessor::List> FileNameProcessor::Execute(
    const std::string& file, const std::string& text, int mask, PathGoal goal) {
    NameReadings readings = Read(file, text, mask);
    if (goal == PathGoal::WorkingName) readings.paths = {std::move(readings.paths.back())};
    return {std::move(readings.paths), std::move(readings.companions)};
}

}  // namespace vexa
