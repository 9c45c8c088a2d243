#include "vexa/io/RawAnimation.h"

#include "vexa/io/BinaryStreamReader.h"
#include "vexa/io/BinaryStreamWriter.h"
#include "vexa/io/FileStream.h"

namespace vexa::vxio {

namespace {

bool ReadFrom(const std::string& path, bool (RawAnimation::*read)(IInputStream&),
              RawAnimation& record, std::string& error) {
    FileStream stream;
    if (stream.OpenRead(path) && (record.*read)(stream)) return true;
    error = stream.GetError().empty() ? path + ": not a raw animation" : stream.GetError();
    return false;
}

}  // namespace

bool RawAnimation::HasValidReference() const {
    return reference.size() <= kLongestReference && reference.find('\0') == std::string::npos;
}

bool RawAnimation::ReadHead(IInputStream& stream) {
    BinaryStreamReader reader(stream);
    return reader.Read(blockA.data(), blockA.size()) && reader.Read(blockB.data(), blockB.size()) &&
           reader.ReadString(reference, kLongestReference) && HasValidReference();
}

bool RawAnimation::Read(IInputStream& stream) {
    return ReadHead(stream) && BinaryStreamReader(stream).ReadBytes(body, stream.Remaining());
}

bool RawAnimation::Write(IOutputStream& stream) const {
    BinaryStreamWriter writer(stream);
    return HasValidReference() && writer.Write(blockA.data(), blockA.size()) &&
           writer.Write(blockB.data(), blockB.size()) && writer.WriteString(reference) &&
           writer.Write(body.data(), body.size());
}

bool ReadRawAnimationHead(const std::string& path, RawAnimation& record, std::string& error) {
    return ReadFrom(path, &RawAnimation::ReadHead, record, error);
}

bool ReadRawAnimation(const std::string& path, RawAnimation& record, std::string& error) {
    return ReadFrom(path, &RawAnimation::Read, record, error);
}

bool WriteRawAnimation(const std::string& path, const RawAnimation& record, std::string& error) {
    if (!record.HasValidReference()) {
        error = path + ": no raw animation can hold the reference " + record.reference;
        return false;
    }
    FileStream stream;
    if (stream.OpenNew(path) && record.Write(stream) && stream.Close()) return true;
    error = stream.GetError();
    return false;
}

}  // namespace vexa::vxio
