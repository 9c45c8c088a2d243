#pragma once

#include <cstddef>
#include <string_view>

#include "vexa/fx/Effect.h"
#include "vexa/fx/TechniqueReader.h"
#include "vexa/fx/TokenStream.h"
#include "vexa/fx/Types.h"

namespace vexa::fx {

// Reads the statements of an effect.
class EffectReader {
public:
    // The text must outlive the reader, and the list.
    EffectReader(std::string_view text, ErrorList& errors);

    Effect::Contents Read();

    // Whether anything was a declaration or a technique.
    bool HasRead() const { return m_hasRead; }

private:
    void ReadStatement();
    bool ReadBlock();
    void ReadClosingBrace();
    void ReadGroup();
    void ReadConstantBuffer();
    void ReadTypedef();
    void ReadDeclaration();
    void ReadMacro();
    void ReadFunction();
    void ReadDeclarators(int type, std::string_view name);
    bool ReadDeclarator(int type, std::string_view name);
    void ReadTraits(Param::Declaration& declaration);
    void ReadSemantic(Param::Declaration& declaration);
    bool ReadInitialValue();

    TokenStream m_tokens;
    TypeTable m_types;
    Effect::Contents m_contents;
    TechniqueReader m_techniques;
    std::size_t m_groups = 0;  // open `fxgroup` and `namespace`
    bool m_hasRead = false;
};

}  // namespace vexa::fx
