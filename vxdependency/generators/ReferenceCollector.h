#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vexa {

// Resolves one reference of a file: the resources among its candidates that exist are appended to
// `dependencies`, as keys, each once per reference; the files bound to them to `secondList`.
// `mask` is the rule's strategy.
void CollectReference(const std::string& file, const std::string& text, std::int32_t mask,
                      std::vector<std::string>& dependencies, std::vector<std::string>& secondList);

}  // namespace vexa
