#include "vexa/io/BinaryStreamReader.h"

namespace vexa::vxio {

bool BinaryStreamReader::ReadU32(std::uint32_t& value) {
    unsigned char bytes[4];
    if (!Read(bytes, sizeof bytes)) return false;
    value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | bytes[i];
    return true;
}

bool BinaryStreamReader::ReadBytes(std::string& out, std::uint64_t size) {
    if (size > m_stream.Remaining()) return false;
    out.resize(static_cast<std::size_t>(size));
    return Read(out.data(), out.size());
}

bool BinaryStreamReader::ReadString(std::string& out, std::uint32_t longest) {
    std::uint32_t size = 0;
    return ReadU32(size) && size <= longest && ReadBytes(out, size);
}

}  // namespace vexa::vxio
