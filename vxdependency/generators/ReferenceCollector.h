#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vexa {

class IReferenceSite;

// Resolves one reference of a file and reports it to the thread's observer: the resources among its
// candidates that exist are appended to `dependencies`, as keys, each once per reference; the files
// bound to them to `secondList`. `mask` is the rule's strategy; `site` tells where it stands.
void CollectReference(const std::string& file, const std::string& text, std::int32_t mask,
                      const IReferenceSite& site, std::vector<std::string>& dependencies,
                      std::vector<std::string>& secondList);

// Reports a reference that names one file alone, by a path in any form, and answers whether that
// file exists. For formats whose references no strategy resolves.
bool ReportPath(const std::string& file, const std::string& text, const std::string& path,
                const IReferenceSite& site);

}  // namespace vexa
