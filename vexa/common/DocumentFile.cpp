#include "vexa/common/DocumentFile.h"

#include "vexa/common/InterfaceBox.h"

namespace vexa {
namespace {

bool Holds(const std::string& path, std::string_view bytes) {
    const FilePtr file = InterfaceBox::Instance().GetFileService().ReadFile(path);
    return file && std::string_view(file->GetData(), file->GetSize()) == bytes;
}

}  // namespace

bool SaveDocument(const std::string& path, std::string_view bytes, std::string& error) {
    if (Holds(path, bytes)) return true;
    return InterfaceBox::Instance().GetFileService().Save(path, bytes, error);
}

}  // namespace vexa
