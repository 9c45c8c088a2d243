#pragma once

#include <functional>
#include <string>

#include "vexa/io/JsonData.h"

namespace vexa {

// The configuration files of the config-driven generators. A file is one JSON object; each member
// with a non-empty key makes a generator for the extension that the key names, and what the member
// holds are its rules: an array "name_list", at any depth, with one object per rule, whose members
// are taken by position.

// Creates the generators of the XML family that a file describes, in file order; each registers
// itself. A file that is not there makes none; neither does one that cannot be read or parsed,
// which is logged. Throws std::out_of_range ("invalid vector subscript") at a rule with too few
// members, after logging where it stands; generators created up to there stay, with their rules.
void LoadXmlGenerators(const std::string& path);

// Brings an element's name to the form that rules are filed under: the number at its end becomes
// "*" ("Tex3" to "Tex*", "Layer_12" to "Layer_*"), and so does the missing number after an
// underscore ("Layer_" to "Layer_*"). A name of digits alone, or an empty one, stays.
void NormaliseElementName(std::string& name);

// Gets a member and says whether to go on below it.
using MemberVisitor = std::function<bool(const std::string& name, const ujson::value& value)>;

// Visits the members of an object and of all objects below it, through arrays too, in the order of
// the file: a member before what it holds, that before the next member. Nothing for other kinds.
void WalkMembers(const ujson::value& object, const MemberVisitor& visit);

}  // namespace vexa
