#pragma once

#include <string>

namespace vexa {

// Enters an animation into the animation configuration of a resource: the first file among those
// that refer to the resource whose extension is ".animconfig", letter for letter. The new element
// "Animation" of its "AnimationList" gets a name that is the animation's with a random number, so
// that an animation can be entered more than once. Does nothing when there is no such file; a file
// that cannot be read or written stays as it is, with a warning. Both paths in any form.
void EnterIntoAnimConfig(const std::string& resource, const std::string& animation);

}  // namespace vexa
