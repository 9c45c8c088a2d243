#pragma once

#include <cstdint>
#include <string>

#include "vxdep/Json.h"

namespace vxdep {

// "maps/a.tmx:12", or "terrain/a.chunk@40" for a binary file, which has no lines (0).
std::string PlaceText(const std::string& file, std::uint64_t line, std::uint64_t offset);

// The members "line" and "offset"; the first only where there are lines.
void WritePlace(JsonWriter& writer, std::uint64_t line, std::uint64_t offset);

}  // namespace vxdep
