#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vexa {

class IReferenceSite;

// Resolves one reference of a file and reports it to the thread's observer: the resources among its
// candidates that exist are appended to `dependencies`, as keys, each once per reference; the files
// bound to them to `secondList`. `mask` is the rule's strategy; `site` tells where it stands. What
// the rule adds to the text comes in `addition`.
void CollectReference(const std::string& file, const std::string& text, std::int32_t mask,
                      const IReferenceSite& site, std::vector<std::string>& dependencies,
                      std::vector<std::string>& secondList, const std::string& addition = "");

// Reports a reference that stands for certain files alone, by their paths in any form. For formats
// whose references no strategy resolves.
void ReportPaths(const std::string& file, const std::string& text,
                 std::span<const std::string> paths, const IReferenceSite& site);

}  // namespace vexa
