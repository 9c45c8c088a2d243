#pragma once

#include <string>

#include "vexa/fx/Effect.h"
#include "vexa/fx/TokenStream.h"
#include "vexa/fx/Types.h"

namespace vexa::fx {

// Reads techniques: their passes, and the shader files that these name.
class TechniqueReader {
public:
    // All must outlive the reader.
    TechniqueReader(TokenStream& tokens, TypeTable& types, Effect::Contents& contents)
        : m_tokens(tokens), m_types(types), m_contents(contents) {}

    // From the word `technique` behind the technique.
    void Read();

private:
    bool ReadHead(std::string& name);
    bool ReadsOn(bool inPass);
    void ReadPart();
    void ReadPass();
    void ReadState();
    void AddShader(std::string_view state, const std::string& path, std::size_t offset);

    TokenStream& m_tokens;
    TypeTable& m_types;
    Effect::Contents& m_contents;
    std::string m_technique;
    std::string m_pass;
};

}  // namespace vexa::fx
