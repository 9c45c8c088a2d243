#pragma once

#include <string>
#include <string_view>

namespace vexa {

// Makes `bytes` the contents of a file, by a path in any form, at once and as a whole: a crash
// leaves the old file or the new one. A file that has these bytes already is not touched. False
// when the file cannot be written; `error` then names it and says why. From any thread.
bool SaveDocument(const std::string& path, std::string_view bytes, std::string& error);

}  // namespace vexa
