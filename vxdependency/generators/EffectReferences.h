#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vexa {

// What the description of an effect refers to, in this order: the images that annotations of its
// textures name, as written; for each source that a pass names, the source ("a/b.vs") and its
// variants ("a/b_gl.vs", "a/b_metal.vs"), as far as they exist. A source's name ends at its first
// ".". Each reference is reported to the thread's observer. What cannot be parsed is logged in one
// line and left out.
std::vector<std::string> ReadEffectReferences(const std::string& file, std::string_view text);

}  // namespace vexa
