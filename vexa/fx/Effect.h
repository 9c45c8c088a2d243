#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vexa/Export.h"
#include "vexa/fx/Param.h"

namespace vexa::fx {

// A shader source file that a pass names.
struct PassShader {
    std::string path;       // as written, escapes resolved; never empty
    std::string technique;  // "" for one without a name, as for the pass
    std::string pass;
    std::string state;       // what is assigned, "VertexShader", or called, "SetVertexShader"
    std::size_t offset = 0;  // of the path's first byte in the text, behind the quote
    std::size_t line = 1;    // on which the path begins, from 1
};

// What every effect has. Immutable once parsed, so that any thread may read it.
class VX_API BaseEffect {
public:
    // The path and the sub-path that the parser was given.
    const std::string& GetPath() const;
    const std::string& GetSubPath() const;

    // The number of passes, those of all techniques together.
    std::size_t GetChildrenCount() const;

protected:
    BaseEffect(std::string path, std::string subPath, std::size_t childrenCount);
    ~BaseEffect() = default;

private:
    std::string m_path;
    std::string m_subPath;
    std::size_t m_childrenCount;
};

class VX_API Effect : public BaseEffect {
public:
    struct Contents {
        std::vector<Param> params;
        std::vector<PassShader> passShaders;
        std::size_t passCount = 0;
    };

    Effect(std::string path, std::string subPath, Contents contents);

    // The number of parameters.
    std::size_t GetParamCount() const;

    // A parameter in the order of the file. Throws std::out_of_range when there is no such one.
    const Param& GetParam(std::size_t index) const;

    // The shader sources that the passes name, in the order of the file and as often as they are
    // named there.
    std::vector<std::string> GetPassShaderPath() const;

    // The same, with where each is named.
    const std::vector<PassShader>& GetPassShaders() const;

private:
    Contents m_contents;
};

}  // namespace vexa::fx
