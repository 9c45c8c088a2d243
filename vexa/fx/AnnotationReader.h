#pragma once

#include <memory>

#include "vexa/fx/Annotation.h"
#include "vexa/fx/TokenStream.h"
#include "vexa/fx/Types.h"

namespace vexa::fx {

// Reads the annotation block that begins at the current '<'.
std::shared_ptr<const Annotation> ReadAnnotation(TokenStream& tokens, TypeTable& types);

}  // namespace vexa::fx
