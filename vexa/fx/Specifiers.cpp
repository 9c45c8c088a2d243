#include "vexa/fx/Specifiers.h"

#include "vexa/fx/Annotation.h"

namespace vexa::fx {
namespace {

// `struct Name : Base { ... }`; each part may be missing, and then `struct Name` uses the type.
void ReadStruct(TokenStream& tokens, TypeTable& types, Specifiers& specifiers) {
    specifiers.type = tokens.IsWord("enum") ? kIntType : kStructType;
    specifiers.hasType = specifiers.isStruct = true;
    tokens.Consume();
    if (const std::string_view name = tokens.AcceptName(); !name.empty()) {
        tokens.CountKept();
        types.Define(name, *specifiers.type);
    }
    while (tokens.Accept(':') || tokens.Accept(',')) tokens.AcceptName();
    if (tokens.Is('{')) tokens.SkipBraces();
}

// False when the word can be no part of the specifiers any more.
bool TakeWord(std::string_view word, const TypeTable& types, Specifiers& specifiers) {
    if (!specifiers.hasType) {
        specifiers.hasType = true;
        specifiers.type = types.Find(word);
        return true;
    }
    if (!specifiers.name.empty()) {
        if (specifiers.type) return false;
        specifiers.type = types.Find(specifiers.name);
    }
    specifiers.name = word;
    return true;
}

}  // namespace

Specifiers ReadSpecifiers(TokenStream& tokens, TypeTable& types) {
    Specifiers specifiers;
    while (tokens.IsName()) {
        const bool mayEnd = specifiers.isStruct || !specifiers.name.empty();
        if (mayEnd && tokens.IsTechnique()) break;
        if (IsStructWord(tokens.Text()) && !specifiers.type) {
            ReadStruct(tokens, types, specifiers);
        } else if (IsModifier(tokens.Text()) || TakeWord(tokens.Text(), types, specifiers)) {
            tokens.Consume();
        } else {
            break;
        }
        const bool mayBeTemplate = specifiers.hasType && specifiers.name.empty();
        if (mayBeTemplate && tokens.Is('<')) tokens.SkipNested('<', '>');
    }
    return specifiers;
}

}  // namespace vexa::fx
