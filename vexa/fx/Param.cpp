#include "vexa/fx/Param.h"

#include <utility>

namespace vexa::fx {

Param::Param(Declaration declaration) : m_declaration(std::move(declaration)) {}

int Param::GetType() const {
    return m_declaration.type;
}

const std::string& Param::GetName() const {
    return m_declaration.name;
}

const std::string& Param::GetSemantic() const {
    return m_declaration.semantic;
}

const std::string& Param::GetRegister() const {
    return m_declaration.registerName;
}

const Annotation* Param::GetAnnotation() const {
    return m_declaration.annotation.get();
}

}  // namespace vexa::fx
