#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vexa {

// A file that a shader source names in an `#include`.
struct IncludeName {
    std::string name;        // as written, blanks at both ends taken off; may be empty
    std::size_t offset = 0;  // of its first byte in the text
    std::size_t line = 1;    // on which it begins, from 1

    friend bool operator==(const IncludeName&, const IncludeName&) = default;
};

// The includes of a shader source, in the order of the text. Nothing is preprocessed: includes in
// inactive branches count too. Comments hide includes, quoted names do not hide comments.
//
// What matters for the odd file: after the word (any that begins with "include") the next quote or
// "<" begins the name, on whatever line; only a quote ends it, so that `<a.h>` runs on to the next
// quote and hardly ever names a file. Line feeds inside a name are dropped; a name that is not
// ended is none. Time is linear in the length. Any thread.
std::vector<IncludeName> ScanIncludes(std::string_view text);

}  // namespace vexa
