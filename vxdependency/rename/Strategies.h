#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vxdependency/rename/Found.h"

namespace vexa::strategies {

// One interpretation of a reference in `file`. `name` is the working name, at first the reference's
// text; a strategy may add to `found` or adjust the name. True when it did either.
using Strategy = bool (*)(const std::string& file, std::string& name, Found& found);

// Runs the strategies of a mask on a reference of `file`, in their order. `name` is its text, and
// becomes the working name.
void Run(const std::string& file, std::int32_t mask, std::string& name, Found& found);

// The key of `name` taken from the resource root, and of `name` joined to the directory of `file`.
// False when it names nothing.
bool RootedKey(const std::string& name, std::string& key);
bool JoinedKey(const std::string& file, const std::string& name, std::string& key);

// The files of a terrain-tool folder.
inline constexpr std::string_view kTerrainParts[] = {"geod.bson", "geod.gaj", "geod.gax"};

bool Root(const std::string& file, std::string& name, Found& found);
bool Directory(const std::string& file, std::string& name, Found& found);
bool Binding(const std::string& file, std::string& name, Found& found);
bool Effect(const std::string& file, std::string& name, Found& found);
bool Anchored(const std::string& file, std::string& name, Found& found);
bool Selector(const std::string& file, std::string& name, Found& found);
bool ImageType(const std::string& file, std::string& name, Found& found);
bool RawAnimation(const std::string& file, std::string& name, Found& found);
bool TerrainTool(const std::string& file, std::string& name, Found& found);

}  // namespace vexa::strategies
