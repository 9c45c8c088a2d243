#pragma once

#include <string>
#include <string_view>

// What reading needs of keys beside NormaliseKey. No disk is touched; any thread.
namespace vexa {

// Normalises a text that is read from the folder `key` on, a key itself or "" for the resource
// root; what the text names takes its place. False, with `key` empty, as NormaliseKey.
bool AppendNormalised(std::string_view text, std::string& key);

// Whether a text is a key as it stands. Most are, and to see that costs less than a copy. False as
// well for the few keys in which a name begins with ".".
bool IsPlainKey(std::string_view text);

}  // namespace vexa
