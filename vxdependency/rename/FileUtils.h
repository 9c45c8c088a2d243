#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <string>

#include "vexa/Export.h"

namespace vexa {

// File functions for the editor. Failures are reported on standard error. Any thread may call.
class VX_API FileUtils {
public:
    // Gets a file's full source path and full destination path, and makes the destination file.
    using OnFile = std::function<void(const std::string&, const boost::filesystem::path&)>;

    // Copies what is in a directory, at every depth, into another one, which is made (one level of
    // it) when it is not there. With `onFile` no file is copied: it is called once for each, after
    // the directory that it goes to has been made. False, with a message, when the source is no
    // directory or a destination cannot be made; what was copied until then stays. A destination
    // file that exists, and a directory that cannot be listed, is an error that is thrown:
    // boost::filesystem::filesystem_error.
    static bool CopyDir(const boost::filesystem::path& source,
                        const boost::filesystem::path& destination, OnFile onFile);
};

}  // namespace vexa
