#pragma once

#include <string_view>

#include "vexa/fx/StringLiterals.h"
#include "vexa/fx/TokenStream.h"

namespace vexa::fx {

// Whether a state of this name takes a shader: `VertexShader`, and `SetVertexShader` in a call.
bool IsShaderState(std::string_view name);

// Finds the shader source file that a shader state's value names: the string that the value begins
// with, or the first string of a compilation, if nothing but names stands between. What follows
// a function's name is its arguments, and a string behind the file is the entry.
class ShaderPathFinder {
public:
    explicit ShaderPathFinder(TokenStream& tokens) : m_tokens(tokens) {}

    // Takes the value's next token.
    void See(const Token& token);

    // What was found; an empty text for none.
    const StringLiteral& Get() const { return m_path; }

private:
    enum class State { Begin, Elsewhere, CompileWord, Compilation, Path, Found };

    State After(const Token& token) const;

    TokenStream& m_tokens;
    StringLiteral m_path;
    State m_state = State::Begin;
};

}  // namespace vexa::fx
