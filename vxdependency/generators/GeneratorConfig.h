#pragma once

#include <string>

namespace vexa {

// The configuration files of the config-driven generators. A file is one JSON object; each member
// with a non-empty key makes a generator for the extension that the key names, and what the member
// holds are its rules: an array "name_list", at any depth, with one object per rule, whose members
// are taken by position.

// Create the generators of the XML and of the JSON family that a file describes, in file order;
// each registers itself. A file that is not there makes none; neither does one that cannot be read
// or parsed, of which the reason is returned for a person ("" otherwise). They throw
// std::out_of_range ("invalid vector subscript") at a rule with too few members, after logging
// where it stands; generators created up to there stay, with their rules.
std::string LoadXmlGenerators(const std::string& path);
std::string LoadJsonGenerators(const std::string& path);

// Brings an element's name to the form that rules are filed under: the number at its end becomes
// "*" ("Tex3" to "Tex*", "Layer_12" to "Layer_*"), and so does the missing number after an
// underscore ("Layer_" to "Layer_*"). A name of digits alone, or an empty one, stays.
void NormaliseElementName(std::string& name);

}  // namespace vexa
