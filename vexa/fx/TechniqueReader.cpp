#include "vexa/fx/TechniqueReader.h"

#include "vexa/fx/AnnotationReader.h"
#include "vexa/fx/ShaderPath.h"

namespace vexa::fx {

void TechniqueReader::Read() {
    if (!ReadHead(m_technique)) return;
    while (ReadsOn(false)) ReadPart();
}

// `technique Lit < ... > {` or the same of a pass, whose name and annotation may be missing.
bool TechniqueReader::ReadHead(std::string& name) {
    m_tokens.Consume();
    name = m_tokens.AcceptName();
    if (m_tokens.Is('<')) ReadAnnotation(m_tokens, m_types);
    return m_tokens.Expect('{');
}

// False behind the '}' of a technique or a pass, and where it must have been forgotten.
bool TechniqueReader::ReadsOn(bool inPass) {
    if (m_tokens.Accept('}')) return false;
    const bool isNextBlock = m_tokens.IsTechnique() || (inPass && m_tokens.IsWord("pass"));
    if (!m_tokens.AtEnd() && !isNextBlock) return true;
    m_tokens.FailExpecting("'}'");
    return false;
}

void TechniqueReader::ReadPart() {
    if (m_tokens.IsWord("pass")) return ReadPass();
    if (m_tokens.Accept(';')) return;
    m_tokens.FailExpecting("'pass'");
    m_tokens.Resynchronise();
}

void TechniqueReader::ReadPass() {
    if (!ReadHead(m_pass)) return;
    ++m_contents.passCount;
    while (ReadsOn(true))
        if (!m_tokens.Accept(';')) ReadState();
}

// `VertexShader = compile vs_3_0 main();` or `SetVertexShader(...);`
void TechniqueReader::ReadState() {
    const std::string_view state = m_tokens.AcceptName();
    while (!state.empty() && m_tokens.Is('[')) m_tokens.SkipNested('[', ']');
    if (state.empty() || (!m_tokens.Is('(') && !m_tokens.Accept('='))) {
        m_tokens.FailExpecting(state.empty() ? "a state" : "'='");
        return m_tokens.Resynchronise();
    }
    ShaderPathFinder finder(m_tokens);
    const bool isShader = IsShaderState(state);
    const bool closed = m_tokens.ReadExpression(ExpressionEnd::Statement, [&](const Token& token) {
        if (isShader) finder.See(token);
    });
    if (!finder.Get().text.empty()) AddShader(state, finder.Get().text, finder.Get().offset);
    m_tokens.EndStatement(closed);
}

void TechniqueReader::AddShader(std::string_view state, const std::string& path,
                                std::size_t offset) {
    m_contents.passShaders.push_back(
        {path, m_technique, m_pass, std::string(state), offset, m_tokens.LineOf(offset)});
    m_tokens.CountKept();
}

}  // namespace vexa::fx
