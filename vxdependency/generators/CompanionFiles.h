#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vexa {

// In the strategy of a companion file's rule: the file is bound explicitly (a user assigned it),
// not implicitly (it belongs to the format).
inline constexpr std::int32_t kExplicitFlag = 0x1000;

// A companion file lies beside a resource and is named after its stem (see GetStem). Collects the
// one with this suffix when it is there, by its rule's strategy.
void CollectCompanion(const std::string& key, const std::string& suffix, std::int32_t strategy,
                      std::vector<std::string>& dependencies, std::vector<std::string>& secondList);

}  // namespace vexa
