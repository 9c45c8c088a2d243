#include "vexa/fx/ShaderPath.h"

#include <algorithm>

#include "vexa/fx/Types.h"

namespace vexa::fx {

bool IsShaderState(std::string_view name) {
    static constexpr std::string_view kStates[] = {"VertexShader", "PixelShader",  "GeometryShader",
                                                   "HullShader",   "DomainShader", "ComputeShader"};
    if (EqualsWithoutCase(name.substr(0, 3), "Set")) name.remove_prefix(3);
    return std::ranges::any_of(
        kStates, [&](std::string_view state) { return EqualsWithoutCase(name, state); });
}

void ShaderPathFinder::See(const Token& token) {
    m_state = After(token);
    if (m_state != State::Path) return;
    if (m_path.offset == 0) m_path.offset = token.begin + 1;
    AppendLiteral(m_path.text, m_tokens.Text(token));
}

ShaderPathFinder::State ShaderPathFinder::After(const Token& token) const {
    const bool found = m_state == State::Path || m_state == State::Found;
    const bool opens = token.symbol == '(';
    if (token.kind == TokenKind::String && m_state != State::Elsewhere && m_state != State::Found)
        return State::Path;
    if (found) return State::Found;
    if (token.kind == TokenKind::Name) {
        const std::string_view word = m_tokens.Text(token);
        if (EqualsWithoutCase(word, "compile") || EqualsWithoutCase(word, "CompileShader"))
            return State::CompileWord;
    }
    switch (m_state) {
        case State::Begin:
            return opens ? State::Begin : State::Elsewhere;
        case State::CompileWord:
            if (opens) return State::Compilation;
            [[fallthrough]];
        case State::Compilation:
            return token.kind == TokenKind::Name || token.symbol == ',' ? State::Compilation
                                                                        : State::Elsewhere;
        default:
            return State::Elsewhere;
    }
}

}  // namespace vexa::fx
