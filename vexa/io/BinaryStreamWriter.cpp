#include "vexa/io/BinaryStreamWriter.h"

namespace vexa::vxio {

bool BinaryStreamWriter::WriteU32(std::uint32_t value) {
    unsigned char bytes[4];
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(value);
        value >>= 8;
    }
    return Write(bytes, sizeof bytes);
}

bool BinaryStreamWriter::WriteString(std::string_view text) {
    if (text.size() > UINT32_MAX) return false;
    return WriteU32(static_cast<std::uint32_t>(text.size())) && Write(text.data(), text.size());
}

}  // namespace vexa::vxio
