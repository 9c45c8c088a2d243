#pragma once

#include <rapidjson/prettywriter.h>

#include <string>
#include <string_view>
#include <vector>

#include "vxdep/Output.h"

namespace vxdep {

using JsonWriter = rapidjson::PrettyWriter<Output>;

// The JSON string of a text in quotes. Paths are bytes, JSON is Unicode: a byte 0xNN that is no
// part of valid UTF-8 becomes the escape \udcNN, which no valid text yields, so nothing is lost.
// (It is what Python calls "surrogateescape"; json.loads and os.fsencode give the bytes back.)
std::string JsonText(std::string_view bytes);
void AppendJsonText(std::string& out, std::string_view bytes);

// A member's name or a string value.
void WriteText(JsonWriter& writer, std::string_view bytes);
void WriteMember(JsonWriter& writer, std::string_view name, std::string_view value);
void WriteArray(JsonWriter& writer, const std::vector<std::string>& list);

}  // namespace vxdep
