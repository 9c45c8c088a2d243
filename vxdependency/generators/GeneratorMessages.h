#pragma once

#include <functional>
#include <string>

namespace vexa {

// What the config-driven generators log.

// The key of a file that is to be read. False, after a warning, when it has none.
bool KeyToRead(const std::string& file, std::string& key);

// Tells why a document could not be read.
using ReasonSource = std::function<const std::string&()>;

// A file is not there, or the generator of `extension` cannot read it as `language` for a reason,
// which costs time to find and is asked for only if it is to be told.
void WarnUnreadable(const std::string& key, const std::string& extension, const char* language,
                    const ReasonSource& reason);

}  // namespace vexa
