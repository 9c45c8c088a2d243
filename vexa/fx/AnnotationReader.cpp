#include "vexa/fx/AnnotationReader.h"

#include <string>
#include <utility>
#include <vector>

#include "vexa/fx/Specifiers.h"
#include "vexa/fx/StringLiterals.h"

namespace vexa::fx {
namespace {

using Entries = std::vector<Annotation::Entry>;

bool EndsBlock(const TokenStream& tokens) {
    return tokens.AtEnd() || tokens.Is('>') || tokens.Is('{') || tokens.Is('}') ||
           tokens.IsTechnique();
}

// To the next entry, or to what ends the block.
void SkipEntry(TokenStream& tokens) {
    while (!EndsBlock(tokens) && !tokens.Is(';')) tokens.Consume();
}

void AddString(TokenStream& tokens, ParamInfo info, StringLiteral literal, Entries& entries) {
    info.offset = literal.offset;
    info.line = tokens.LineOf(literal.offset);
    entries.push_back({std::move(info), true, std::move(literal.text)});
}

void ReadValue(TokenStream& tokens, ParamInfo info, Entries& entries) {
    const Token first = tokens.Current();
    StringLiterals strings(tokens);
    tokens.ReadExpression(ExpressionEnd::Annotation, [&](const Token& token) {
        if (info.type == kStringType) strings.See(token);
    });
    if (tokens.Current().begin == first.begin) return;  // there was no value
    for (const StringLiteral& literal : strings.Get()) AddString(tokens, info, literal, entries);
    if (!strings.Get().empty()) return;
    tokens.CountKept();
    info.offset = first.begin + (first.kind == TokenKind::String ? 1 : 0);
    info.line = tokens.LineOf(info.offset);
    entries.push_back({std::move(info), false, ""});
}

// `string UIName = "Rust"`
void ReadEntry(TokenStream& tokens, TypeTable& types, Entries& entries) {
    const Specifiers specifiers = ReadSpecifiers(tokens, types);
    if (specifiers.name.empty()) {
        tokens.FailExpecting("a type and a name");
        return SkipEntry(tokens);
    }
    while (tokens.Is('[')) tokens.SkipNested('[', ']');
    if (!tokens.Accept('=')) {
        tokens.FailExpecting("'='");
        return SkipEntry(tokens);
    }
    ParamInfo info{std::string(specifiers.name), specifiers.type.value_or(kUnknownType)};
    ReadValue(tokens, std::move(info), entries);
}

}  // namespace

std::shared_ptr<const Annotation> ReadAnnotation(TokenStream& tokens, TypeTable& types) {
    Entries entries;
    tokens.Consume();
    while (!EndsBlock(tokens)) {
        ReadEntry(tokens, types, entries);
        if (!tokens.Accept(';') && !EndsBlock(tokens)) {
            tokens.FailExpecting("';'");
            SkipEntry(tokens);
        }
    }
    if (!tokens.Accept('>')) tokens.FailExpecting("'>'");
    return std::make_shared<Annotation>(std::move(entries));
}

}  // namespace vexa::fx
