#include "vexa/core/StringId.h"

#include <xxhash.h>

#include <cstring>

namespace vexa {
namespace {

int HashText(const char* text) {
    if (*text == '\0') return 0;
    return static_cast<int>(XXH32(text, std::strlen(text), 0));
}

}  // namespace

StringIDFunc GetStringIDFunc(StringIDType type) {
    switch (type) {
        case StringIDType::Name:
        case StringIDType::Class:
        case StringIDType::Resource:
            return HashText;
    }
    return nullptr;
}

}  // namespace vexa
