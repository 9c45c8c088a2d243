#pragma once

#include <memory>
#include <string>

#include "vexa/Export.h"
#include "vexa/fx/Annotation.h"

namespace vexa::fx {

// A parameter of an effect: a variable outside of functions, structs and constant buffers.
// Immutable; copies share the annotation block.
class VX_API Param {
public:
    struct Declaration {
        int type = kUnknownType;
        std::string name;
        std::string semantic;
        std::string registerName;
        std::shared_ptr<const Annotation> annotation;
    };

    explicit Param(Declaration declaration);

    // A TypeCode; that of the elements for an array.
    int GetType() const;

    const std::string& GetName() const;

    // The semantic, "DIFFUSE"; "" for none.
    const std::string& GetSemantic() const;

    // What `register(...)` holds, "s0"; "" for none.
    const std::string& GetRegister() const;

    // The annotation block, owned by the parameter and its copies; null for none.
    const Annotation* GetAnnotation() const;

private:
    Declaration m_declaration;
};

}  // namespace vexa::fx
