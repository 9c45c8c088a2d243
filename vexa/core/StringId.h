#pragma once

namespace vexa {

// The kinds of string identifier that the engine knows; resources use Resource (2).
enum class StringIDType : int { Name = 0, Class = 1, Resource = 2 };

using StringIDFunc = int (*)(const char* text);

// The function that gives a NUL-terminated text its 32-bit id. Every kind is XXH32 with seed 0
// (https://github.com/Cyan4973/xxHash), with the id of the empty text 0 by rule. Ids are kept on
// disk: changing the function makes every store unreadable. Null for a number that is no kind.
StringIDFunc GetStringIDFunc(StringIDType type);

}  // namespace vexa
