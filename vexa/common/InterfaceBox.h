#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "vexa/Export.h"
#include "vexa/common/FileService.h"

namespace vexa {

// A pulse that long-running loops give, so that others can tell that they are alive.
// May be used from any thread.
class IHeartbeat {
public:
    virtual void Release() = 0;
    virtual IHeartbeat* AddRef() = 0;
    // Gives a pulse and returns it: milliseconds since 1970-01-01 UTC.
    virtual std::int64_t Beat() = 0;
    // The last pulse, 0 before the first.
    virtual std::int64_t Last() const = 0;

protected:
    virtual ~IHeartbeat() = default;
};

// The engine's box of services: a singleton that is never destroyed, so that threads that outlive
// `main` may still call it. All operations may be called from any thread, except SetProjectRoot.
class VX_API InterfaceBox {
public:
    static InterfaceBox& Instance();

    // Sets the project root R: an absolute directory, in any spelling. Without a call it is the
    // working directory at the first call of Instance. To be called before the first use of the
    // manager, from one thread.
    virtual void SetProjectRoot(const std::string& directory);

    // R, "/" between segments, "." and ".." resolved by name, no separator at its end ("" for the
    // root of the machine).
    virtual const std::string& GetProjectRoot();

    // The heartbeat that the change loop gives; owned by the box.
    virtual IHeartbeat* GetHeartbeat();

    // R/res.
    virtual const std::string& GetResourceRoot();

    // The resource path of an input path: the key where it has one, else empty.
    virtual std::string GetResourcePath(const std::string& path);

    // The file service: that of a FileServiceUse on the calling thread, if there is one.
    virtual IFileService& GetFileService();

    // Puts another file service in place, at once for all threads, and returns the one before it;
    // null brings back the box's own. For tests that inject failures. The caller keeps the
    // ownership of what it passes; threads may still be inside the one before.
    virtual IFileService* ReplaceFileService(IFileService* service);

protected:
    InterfaceBox();
    virtual ~InterfaceBox();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// Makes a file service the calling thread's own for the life of the object: what is planned over an
// overlay must not show to other threads. The caller keeps the ownership of the service.
class VX_API FileServiceUse {
public:
    explicit FileServiceUse(IFileService& service);
    ~FileServiceUse();
    FileServiceUse(const FileServiceUse&) = delete;
    FileServiceUse& operator=(const FileServiceUse&) = delete;

private:
    IFileService* m_before;
};

}  // namespace vexa
