#include "vxdependency/rename/MoveErrors.h"

#include "vexa/common/InterfaceBox.h"
#include "vexa/io/Path.h"
#include "vexa/os/ChangeSteps.h"
#include "vexa/os/WindowsApi.h"

namespace vexa {

namespace {

// A file system that folds case shows one entry under both names.
bool AreOneEntry(const std::string& from, const std::string& to) {
    IFileService& files = InterfaceBox::Instance().GetFileService();
    const std::uint64_t number = os::IdentityOf(files.AbsolutePath(from)).number;
    return number != 0 && number == os::IdentityOf(files.AbsolutePath(to)).number;
}

}  // namespace

std::string WhyNotMoved(const std::string& from, const std::string& to, std::uint32_t error) {
    const std::string folder = vxio::GetDirName(to);
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
            return from + ": there is no such file or folder";
        case ERROR_ALREADY_EXISTS:
            if (!AreOneEntry(from, to)) return to + ": exists already";
            return to + ": the file system takes it for the same name as " + from +
                   "; rename to a third name first";
        case ERROR_PATH_NOT_FOUND:
            return (folder.empty() ? to : folder) + ": there is no such folder";
        case ERROR_ACCESS_DENIED:
            return from + ": cannot be moved to " + to + ": no permission to change the folder";
        case ERROR_INVALID_PARAMETER:
            return from + ": a folder cannot be moved into itself";
        case ERROR_NOT_SAME_DEVICE:
            return from + ": cannot be moved to " + to + ": it is on another file system";
        default:
            return from + ": cannot be moved to " + to + ": error " + std::to_string(error);
    }
}

}  // namespace vexa
