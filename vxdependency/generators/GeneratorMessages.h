#pragma once

#include <string>

namespace vexa {

// What the config-driven generators log.

// The key of a file that is to be read. False, after a warning, when it has none.
bool KeyToRead(const std::string& file, std::string& key);

// A file is not there, or the generator of `extension` cannot read it as `language` for this
// reason.
void WarnUnreadable(const std::string& key, const std::string& extension, const char* language,
                    const std::string& reason);

}  // namespace vexa
