#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vexa/io/Stream.h"

namespace vexa::vxio {

// Writes values to a stream, little-endian on every machine. Every operation is false when the
// stream did not take the value. The stream must outlive the writer.
class BinaryStreamWriter {
public:
    explicit BinaryStreamWriter(IOutputStream& stream) : m_stream(stream) {}

    bool Write(const void* from, std::size_t size) { return m_stream.Write(from, size); }
    bool WriteU32(std::uint32_t value);

    // Writes the number of bytes in 32 bits, then the bytes, with no NUL behind them. False for a
    // text of 4 GiB or more.
    bool WriteString(std::string_view text);

private:
    IOutputStream& m_stream;
};

}  // namespace vexa::vxio
