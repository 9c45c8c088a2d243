#pragma once

#include <functional>
#include <string_view>

#include "vexa/io/JsonOutline.h"

namespace vexa {

// Gets a member of an object, or a string in an array that is offered as one: the name that it is
// offered under, and the value. True to go on below it. To set `stop` says that the list which
// holds the value is a table of paths.
using MemberVisitor =
    std::function<bool(std::string_view name, const vxio::JsonOutline::Entry& value, bool& stop)>;

// The name under which the strings of a table of paths are offered.
inline constexpr const char* kPathMember = "PATH";

// Visits the members of all objects in a document, in file order: a member before what it holds,
// that before the next member. Strings in arrays, at any depth of arrays, are offered as the member
// that holds the array; other elements are not offered, what they hold is.
//
// When the visitor stops the walk of a list, an object or an array, nothing more of the list is
// visited in this way; instead its own strings that look like paths, those before the one that
// stopped it as well, are offered under the name "PATH". The lists around it go on as before.
//
// The visitor may give other texts to strings, and change nothing else of the document.
void WalkMembers(const vxio::JsonOutline& outline, const MemberVisitor& visit);

}  // namespace vexa
