#pragma once

#include <string>
#include <utility>
#include <vector>

#include "vxdep/TreeCheck.h"
#include "vxdependency/store/Catalogue.h"

namespace vxdep {

// What the catalogue holds, by key.
using KnownFiles = std::vector<std::pair<std::string, vexa::vxdependency::CatalogueEntry>>;

// Compares the forward lists of the known files with the inverse lists of whatever they name, and
// looks for names that share a record.
std::vector<Problem> CheckEdges(const KnownFiles& files);

}  // namespace vxdep
