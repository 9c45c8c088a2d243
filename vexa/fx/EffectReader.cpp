#include "vexa/fx/EffectReader.h"

#include <string>
#include <utility>

#include "vexa/fx/AnnotationReader.h"
#include "vexa/fx/Specifiers.h"

namespace vexa::fx {

EffectReader::EffectReader(std::string_view text, ErrorList& errors)
    : m_tokens(text, errors), m_techniques(m_tokens, m_types, m_contents) {}

Effect::Contents EffectReader::Read() {
    while (!m_tokens.AtEnd()) ReadStatement();
    if (m_groups > 0) m_tokens.FailExpecting("'}'");
    return std::move(m_contents);
}

void EffectReader::ReadStatement() {
    if (m_tokens.Accept(';')) return;
    if (m_tokens.Is('}')) return ReadClosingBrace();
    if (m_tokens.Is('[')) {  // an attribute of a function
        m_tokens.SkipNested('[', ']');
    } else if (!m_tokens.IsName()) {
        m_tokens.FailExpecting("a declaration");
        m_tokens.Resynchronise();
    } else if (!ReadBlock()) {
        ReadDeclaration();
    }
}

// Statements that begin with a word of their own.
bool EffectReader::ReadBlock() {
    if (m_tokens.IsTechnique()) {
        m_hasRead = true;
        m_techniques.Read();
    } else if (m_tokens.IsWord("cbuffer") || m_tokens.IsWord("tbuffer")) {
        ReadConstantBuffer();
    } else if (m_tokens.IsWord("typedef")) {
        ReadTypedef();
    } else if (m_tokens.IsWord("fxgroup") || m_tokens.IsWord("namespace")) {
        ReadGroup();
    } else {
        return false;
    }
    return true;
}

void EffectReader::ReadClosingBrace() {
    if (m_groups > 0) {
        --m_groups;
    } else {
        m_tokens.FailExpecting("a declaration");
    }
    m_tokens.Consume();
}

// What stands in a group is read as if it stood outside.
void EffectReader::ReadGroup() {
    m_tokens.Consume();
    m_tokens.AcceptName();
    if (m_tokens.Is('<')) ReadAnnotation(m_tokens, m_types);
    if (m_tokens.Expect('{')) ++m_groups;
}

void EffectReader::ReadConstantBuffer() {
    m_tokens.Consume();
    m_tokens.AcceptName();
    while (m_tokens.Accept(':')) {
        m_tokens.AcceptName();
        if (m_tokens.Is('(')) m_tokens.SkipNested('(', ')');
    }
    if (!m_tokens.Is('{')) {
        m_tokens.Expect('{');
        return;
    }
    m_tokens.SkipBraces();
    m_hasRead = true;
}

void EffectReader::ReadTypedef() {
    m_tokens.Consume();
    const Specifiers specifiers = ReadSpecifiers(m_tokens, m_types);
    if (specifiers.name.empty()) {
        m_tokens.FailExpecting("a type and a name");
        return m_tokens.Resynchronise();
    }
    m_tokens.CountKept();
    m_types.Define(specifiers.name, specifiers.type.value_or(kUnknownType));
    m_hasRead = true;
    while (m_tokens.Is('[')) m_tokens.SkipNested('[', ']');
    m_tokens.EndStatement(false);
}

void EffectReader::ReadDeclaration() {
    const Specifiers specifiers = ReadSpecifiers(m_tokens, m_types);
    const bool calls = m_tokens.Is('(');
    if (!specifiers.name.empty()) {
        if (calls) return ReadFunction();
        return ReadDeclarators(specifiers.type.value_or(kUnknownType), specifiers.name);
    }
    if (specifiers.isStruct) {
        m_hasRead = true;
        return m_tokens.EndStatement(true);
    }
    if (calls) return ReadMacro();
    m_tokens.FailExpecting("a name");
    m_tokens.Resynchronise();
}

// `DECLARE_LIGHT(0)`: what the macro stands for is not known, nor whether a ';' belongs to it.
void EffectReader::ReadMacro() {
    m_tokens.SkipNested('(', ')');
    if (m_tokens.Is('{')) m_tokens.SkipBraces();
}

// From the parameter list on.
void EffectReader::ReadFunction() {
    m_hasRead = true;
    m_tokens.SkipNested('(', ')');
    while (m_tokens.Is(':') || m_tokens.IsName()) m_tokens.Consume();
    if (m_tokens.Is('{')) return m_tokens.SkipBraces();
    m_tokens.EndStatement(false);
}

// `float4 a : DIFFUSE = 1, b[2] <...>;` from behind the first name.
void EffectReader::ReadDeclarators(int type, std::string_view name) {
    bool closed = ReadDeclarator(type, name);
    while (m_tokens.Accept(',')) {
        name = m_tokens.AcceptName();
        if (name.empty()) m_tokens.FailExpecting("a name");
        if (!name.empty()) closed = ReadDeclarator(type, name);
    }
    m_tokens.EndStatement(closed);
}

bool EffectReader::ReadDeclarator(int type, std::string_view name) {
    Param::Declaration declaration;
    declaration.type = type;
    declaration.name = name;
    ReadTraits(declaration);
    const bool closed = ReadInitialValue();
    m_contents.params.emplace_back(std::move(declaration));
    m_tokens.CountKept();
    m_hasRead = true;
    return closed;
}

void EffectReader::ReadTraits(Param::Declaration& declaration) {
    for (;;) {
        if (m_tokens.Is('[')) {
            m_tokens.SkipNested('[', ']');
        } else if (m_tokens.Accept(':')) {
            ReadSemantic(declaration);
        } else if (m_tokens.Is('<')) {
            declaration.annotation = ReadAnnotation(m_tokens, m_types);
        } else {
            return;
        }
    }
}

// `DIFFUSE`, `register(s0)` or `packoffset(c1)`, behind the ':'.
void EffectReader::ReadSemantic(Param::Declaration& declaration) {
    const std::string_view word = m_tokens.AcceptName();
    if (word.empty()) return m_tokens.FailExpecting("a semantic");
    if (!m_tokens.Is('(')) {
        declaration.semantic = word;
        return;
    }
    const std::string_view place = m_tokens.SkipNested('(', ')');
    if (EqualsWithoutCase(word, "register")) declaration.registerName = place;
}

// `= value`, or the states of a sampler, which may follow without a '='.
bool EffectReader::ReadInitialValue() {
    if (m_tokens.Is('{')) {
        m_tokens.SkipBraces();
        return true;
    }
    if (!m_tokens.Accept('=')) return false;
    return m_tokens.ReadExpression(ExpressionEnd::Declarator, [](const Token&) {});
}

}  // namespace vexa::fx
