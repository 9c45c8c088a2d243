#pragma once

#include <string>
#include <string_view>
#include <vector>

// Texts of the calling thread whose memory is used again. A first scan turns the entries of a
// file's list into numbers as soon as it has them: what it then gives back holds the next ones.
namespace vexa {

// A text like this one, in memory that was given back where there is some.
std::string TakeSpareText(std::string_view like);

// Empties the list, and keeps its texts for later.
void GiveBackTexts(std::vector<std::string>& list);

}  // namespace vexa
