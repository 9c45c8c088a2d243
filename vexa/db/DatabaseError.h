#pragma once

#include <string>

namespace vexa {

// Why the last failing database operation of the calling thread failed; "" if none has.
const std::string& LastDatabaseError();
void SetDatabaseError(std::string text);

// Sets the text "<directory>: <what>: <LMDB's or the system's words for `code`>".
void SetDatabaseError(const std::string& directory, const char* what, int code);

}  // namespace vexa
