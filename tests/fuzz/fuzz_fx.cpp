// An effect: what may be relied on in every answer about it.
// Seeds: *.nfx

#include <string_view>

#include "tests/fuzz/Fuzz.h"
#include "vexa/fx/Parser.h"

namespace {

using vexa::fuzz::Require;

class Checker {
public:
    explicit Checker(std::string_view text) : m_text(text) {
        for (const char c : text) m_lines += c == '\n';
    }

    void Check(const vexa::fx::Message& message) const {
        CheckPlace(message.offset, message.line);
        Require(message.column >= 1 && message.column <= m_text.size() + 1, "a column of the text");
        Require(message.text.starts_with("line "), "a message with its place");
    }
    void Check(const vexa::fx::PassShader& shader) const {
        CheckPlace(shader.offset, shader.line);
        Require(!shader.path.empty() && !shader.state.empty(), "a path and a state");
        Require(m_text[shader.offset - 1] == '"', "a path behind its quote");
    }
    void Check(const vexa::fx::Annotation& block) const {
        vexa::fx::ParamInfo info;
        for (std::size_t i = 0; i < block.GetParamCount(); ++i) {
            Require(block.GetParamInfo(i, info) && !info.name.empty(), "a described entry");
            CheckPlace(info.offset, info.line);
            if (!block.GetString(i)) continue;
            Require(info.type == vexa::fx::kStringType, "a string in a string entry");
            Require(m_text[info.offset - 1] == '"', "a string behind its quote");
        }
        Require(!block.GetParamInfo(block.GetParamCount(), info), "an end of the entries");
    }

private:
    void CheckPlace(std::size_t offset, std::size_t line) const {
        Require(offset <= m_text.size(), "an offset of the text");
        Require(line >= 1 && line <= m_lines, "a line of the text");
    }

    std::string_view m_text;
    std::size_t m_lines = 1;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    vexa::fx::Parser parser;
    const auto effect = parser.Parse_IgnoreError(text.data(), text.size());
    const Checker checker(text);
    for (const auto& error : parser.GetErrors()) checker.Check(error);
    Require(effect || !parser.GetErrors().empty(), "a reason for no effect");
    if (!effect) return 0;
    for (const auto& shader : effect->GetPassShaders()) checker.Check(shader);
    for (std::size_t i = 0; i < effect->GetParamCount(); ++i)
        if (const auto* block = effect->GetParam(i).GetAnnotation()) checker.Check(*block);
    return 0;
}
