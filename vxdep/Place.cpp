#include "vxdep/Place.h"

#include <fmt/format.h>

namespace vxdep {

std::string PlaceText(const std::string& file, std::uint64_t line, std::uint64_t offset) {
    return line == 0 ? fmt::format("{}@{}", file, offset) : fmt::format("{}:{}", file, line);
}

void WritePlace(JsonWriter& writer, std::uint64_t line, std::uint64_t offset) {
    if (line != 0) {
        writer.Key("line");
        writer.Uint64(line);
    }
    writer.Key("offset");
    writer.Uint64(offset);
}

}  // namespace vxdep
