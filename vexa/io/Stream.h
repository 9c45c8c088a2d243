#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// Bytes in a row, read or written from the beginning. One stream must not be used by two threads at
// once.
namespace vexa::vxio {

class IInputStream {
public:
    // Reads the next `size` bytes. False when fewer remain or reading fails; then what `to` holds
    // is not defined.
    virtual bool Read(void* to, std::size_t size) = 0;
    // Bytes read so far, and bytes that are still to come.
    virtual std::uint64_t Position() const = 0;
    virtual std::uint64_t Remaining() const = 0;

protected:
    ~IInputStream() = default;
};

class IOutputStream {
public:
    // Appends; false when that fails, and from then on always.
    virtual bool Write(const void* from, std::size_t size) = 0;

protected:
    ~IOutputStream() = default;
};

// Reads bytes in memory, which must outlive the stream.
class MemoryInput final : public IInputStream {
public:
    explicit MemoryInput(std::string_view bytes) : m_bytes(bytes) {}

    bool Read(void* to, std::size_t size) override {
        if (size > m_bytes.size() - m_position) return false;
        if (size > 0) std::memcpy(to, m_bytes.data() + m_position, size);
        m_position += size;
        return true;
    }
    std::uint64_t Position() const override { return m_position; }
    std::uint64_t Remaining() const override { return m_bytes.size() - m_position; }

private:
    std::string_view m_bytes;
    std::size_t m_position = 0;
};

// Appends to a string, which must outlive the stream.
class MemoryOutput final : public IOutputStream {
public:
    explicit MemoryOutput(std::string& bytes) : m_bytes(bytes) {}

    bool Write(const void* from, std::size_t size) override {
        m_bytes.append(static_cast<const char*>(from), size);
        return true;
    }

private:
    std::string& m_bytes;
};

}  // namespace vexa::vxio
