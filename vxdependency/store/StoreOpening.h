#pragma once

#include <string>

#include "vexa/db/VXDatabase.h"

namespace vexa::vxdependency {

// Opens the store in a directory, which is made if need be. What is in it and is damaged or of
// another layout than Catalogue::kLayoutVersion is moved aside within the directory, with the
// reason logged, and a new store is begun: all of it can be made again from the resource files.
// False when there is no store then, with the reason for a person in `error`.
bool OpenStore(VXDatabase& database, const std::string& directory, std::string& error);

}  // namespace vexa::vxdependency
