#include "vexa/common/InterfaceBox.h"

#include <atomic>
#include <filesystem>
#include <utility>

#include "vexa/common/DiskFileService.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"
#include "vexa/os/Clock.h"

namespace vexa {

namespace {

// Lives as long as the box, whatever is released.
class Heartbeat final : public IHeartbeat {
public:
    void Release() override {}
    IHeartbeat* AddRef() override { return this; }
    std::int64_t Beat() override {
        const std::int64_t now = os::UnixTimeMs();
        m_last = now;
        return now;
    }
    std::int64_t Last() const override { return m_last; }

private:
    std::atomic<std::int64_t> m_last{0};
};

thread_local IFileService* t_service = nullptr;

std::string WorkingDirectory() {
    std::error_code error;
    const std::filesystem::path directory = std::filesystem::current_path(error);
    if (error) LogError("The working directory cannot be read: %s", error.message().c_str());
    return directory.generic_string();
}

}  // namespace

struct InterfaceBox::State {
    std::string projectRoot;
    std::string resourceRoot;
    Heartbeat heartbeat;
    DiskFileService disk{[this]() -> const std::string& { return resourceRoot; }};
    std::atomic<IFileService*> service{&disk};
};

InterfaceBox::InterfaceBox() : m_state(std::make_unique<State>()) {
    InterfaceBox::SetProjectRoot(WorkingDirectory());
}

InterfaceBox::~InterfaceBox() = default;

InterfaceBox& InterfaceBox::Instance() {
    static InterfaceBox* const box = new InterfaceBox;
    return *box;
}

void InterfaceBox::SetProjectRoot(const std::string& directory) {
    std::string root = vxio::FormatPath(directory);
    while (root.ends_with('/')) root.pop_back();
    m_state->projectRoot = root;
    m_state->resourceRoot = root + "/res";
}

const std::string& InterfaceBox::GetProjectRoot() {
    return m_state->projectRoot;
}

IHeartbeat* InterfaceBox::GetHeartbeat() {
    return &m_state->heartbeat;
}

const std::string& InterfaceBox::GetResourceRoot() {
    return m_state->resourceRoot;
}

std::string InterfaceBox::GetResourcePath(const std::string& path) {
    std::string key;
    GetFileService().MakeRelative(path, key);
    return key;
}

IFileService& InterfaceBox::GetFileService() {
    return t_service ? *t_service : *m_state->service;
}

IFileService* InterfaceBox::ReplaceFileService(IFileService* service) {
    return m_state->service.exchange(service == nullptr ? &m_state->disk : service);
}

FileServiceUse::FileServiceUse(IFileService& service)
    : m_before(std::exchange(t_service, &service)) {}

FileServiceUse::~FileServiceUse() {
    t_service = m_before;
}

}  // namespace vexa
