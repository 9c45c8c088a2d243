#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "vexa/io/Stream.h"

namespace vexa::vxio {

// A raw animation file. It names one resource; all else is opaque and kept byte for byte.
//
//   bytes  what
//   24     block A
//   16     block B
//   4      length of the reference in bytes, unsigned, little-endian; at most 4096
//   n      the reference, without a NUL in it or behind it: the path of the resource, relative to
//          the animation's folder
//   rest   body
struct RawAnimation {
    static constexpr std::size_t kReferenceOffset = 44;
    static constexpr std::uint32_t kLongestReference = 4096;

    std::array<char, 24> blockA{};
    std::array<char, 16> blockB{};
    std::string reference;
    std::string body;

    // False for a reference that the file cannot hold.
    bool HasValidReference() const;

    // Reads what stands before the body, which is large and stays in the stream. False when that is
    // not there as a whole.
    bool ReadHead(IInputStream& stream);

    // Reads everything.
    bool Read(IInputStream& stream);

    // False when the stream does not take it all, or the reference is not valid.
    bool Write(IOutputStream& stream) const;
};

// The same for the file at a path, in any of the three forms of the file service. A file is written
// as a whole or not at all (see IFileService::Save). On failure `error` says why.
bool ReadRawAnimationHead(const std::string& path, RawAnimation& record, std::string& error);
bool ReadRawAnimation(const std::string& path, RawAnimation& record, std::string& error);
bool WriteRawAnimation(const std::string& path, const RawAnimation& record, std::string& error);

}  // namespace vexa::vxio
