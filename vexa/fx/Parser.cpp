#include "vexa/fx/Parser.h"

#include <string_view>
#include <utility>

#include "vexa/fx/EffectReader.h"
#include "vexa/fx/ErrorList.h"

namespace vexa::fx {

Parser::Parser() = default;

void Parser::SetPath(const std::string& path) {
    m_path = path;
}

void Parser::SetSubPath(const std::string& subPath) {
    m_subPath = subPath;
}

std::shared_ptr<Effect> Parser::Parse_IgnoreError(const char* text, std::size_t length) {
    const std::string_view whole(text, length);
    ErrorList errors;
    std::shared_ptr<Effect> effect;
    if (const std::size_t nul = whole.find('\0'); nul != whole.npos) {
        errors.Add(nul, "a NUL byte: this is no text in UTF-8");
    } else {
        EffectReader reader(whole, errors);
        Effect::Contents contents = reader.Read();
        if (reader.HasRead() || errors.IsEmpty())
            effect = std::make_shared<Effect>(m_path, m_subPath, std::move(contents));
    }
    m_errors = errors.Locate(whole);
    return effect;
}

const std::vector<Message>& Parser::GetErrors() const {
    return m_errors;
}

}  // namespace vexa::fx
