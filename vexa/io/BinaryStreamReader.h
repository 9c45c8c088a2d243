#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "vexa/io/Stream.h"

namespace vexa::vxio {

// Reads values from a stream, little-endian on every machine. Every operation is false when the
// stream does not hold the value as a whole; the stream is then of no further use. The stream must
// outlive the reader.
class BinaryStreamReader {
public:
    explicit BinaryStreamReader(IInputStream& stream) : m_stream(stream) {}

    bool Read(void* to, std::size_t size) { return m_stream.Read(to, size); }
    bool ReadU32(std::uint32_t& value);

    // Reads `size` bytes into `out`. Nothing is allocated for bytes that are not there.
    bool ReadBytes(std::string& out, std::uint64_t size);

    // Reads a string as BinaryStreamWriter::WriteString writes it; false, too, if it has more than
    // `longest` bytes.
    bool ReadString(std::string& out, std::uint32_t longest = UINT32_MAX);

private:
    IInputStream& m_stream;
};

}  // namespace vexa::vxio
