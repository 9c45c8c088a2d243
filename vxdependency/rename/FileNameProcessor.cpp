#include "vxdependency/rename/FileNameProcessor.h"

#include <utility>

#include "vxdependency/rename/Strategies.h"

namespace vexa {

NameReadings FileNameProcessor::Read(const std::string& file, const std::string& text, int mask) {
    strategies::Found found;
    std::string name = text;
    strategies::Run(file, mask, name, found);
    NameReadings readings;
    for (const ReferenceCandidate& candidate : found.Candidates()) {
        readings.paths.push_back(candidate.key);
        readings.strategies.push_back(candidate.strategy);
    }
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
