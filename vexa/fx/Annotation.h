#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vexa/Export.h"

namespace vexa::fx {

// The kinds of types. Vectors and matrices have the code of their scalar. Textures of every
// dimension, arrays of them too, are 6; strings are 7.
enum TypeCode : int {
    kUnknownType = 0,  // a name that this file does not define
    kBoolType = 1,
    kIntType = 2,
    kFloatType = 3,
    kStructType = 4,
    kSamplerType = 5,
    kTextureType = 6,
    kStringType = 7,
    kShaderType = 8,
    kStateType = 9,
    kBufferType = 10,
};

// What is known of an entry of an annotation block beside its string.
struct ParamInfo {
    std::string name;
    int type = kUnknownType;  // a TypeCode, as declared
    std::size_t offset = 0;  // of the value's first byte in the text; in a string, behind the quote
    std::size_t line = 1;    // on which the value begins, from 1
};

// An annotation block, `< string UIName = "Rust"; float Min = 0; >`. Immutable, so that any thread
// may read it.
class VX_API Annotation {
public:
    struct Entry {
        ParamInfo info;
        bool hasString = false;
        std::string string;
    };

    explicit Annotation(std::vector<Entry> entries);

    // The number of entries. An array of strings is one entry for each string.
    std::size_t GetParamCount() const;

    // Describes an entry; false, with `info` unchanged, when there is no such entry.
    bool GetParamInfo(std::size_t index, ParamInfo& info) const;

    // The string of an entry of the type `string`, its escapes resolved and adjacent literals
    // joined. Null for an entry of another type, for a value that is not made of string literals
    // alone (a macro), and when there is no such entry. Owned by the block.
    const std::string* GetString(std::size_t index) const;

private:
    std::vector<Entry> m_entries;
};

}  // namespace vexa::fx
