#include "vxdependency/manager/DependencyManager.h"

#include <atomic>

#include "vexa/common/Log.h"
#include "vexa/io/JsonOutline.h"
#include "vexa/threading/StepGate.h"
#include "vexa/threading/ThreadSpare.h"
#include "vxdependency/generators/DependencyJSON.h"
#include "vxdependency/generators/DependencyXML.h"
#include "vxdependency/manager/Configuration.h"
#include "vxdependency/manager/GeneratorRegistry.h"
#include "vxdependency/manager/ManagerMutex.h"
#include "vxdependency/scanner/DependencyScanner.h"
#include "vxdependency/store/GeneralDependency.h"

namespace vexa {

using vxdependency::GeneralDependency;

namespace {

// The manager that GetSingletonPtr made, or null before and after its life.
std::atomic<CDependencyManager*> g_singleton{nullptr};

// What is wrong with the configuration, once it has been loaded. Never destroyed, as the registry.
std::string& ConfigurationError() {
    static auto* const error = new std::string();
    return *error;
}

void CreateGenerators() {
    // Should it throw, this is what stays.
    ConfigurationError() = "a rule of the configuration is not complete";
    ConfigurationError() = Configuration::Locate().CreateGenerators();
}

// The extension by which a path's generator is filed; sees to it that there are some. The last dot
// of the whole path counts; without one the path itself is the extension.
std::string RegisteredExtension(const std::string& path) {
    GeneratorRegistry::Instance().EnsureCreated(CreateGenerators);
    return path.substr(path.rfind('.') + 1);
}

// Whether both config-driven families may claim an extension, so that the file's content decides.
bool IsShared(const std::string& extension) {
    return extension == "animation" || extension == "skeleton";
}

// The first generator of each family for a shared extension.
struct Families {
    CDependencyBase* xml = nullptr;
    CDependencyBase* json = nullptr;
};

Families FamiliesOf(const std::string& extension) {
    Families first;
    for (CDependencyBase* const generator : GeneratorRegistry::Instance().FindAll(extension)) {
        if (!first.xml && dynamic_cast<CDependencyXML*>(generator)) first.xml = generator;
        if (!first.json && dynamic_cast<CDependencyJSON*>(generator)) first.json = generator;
    }
    return first;
}

// Scanners outlive their managers: their threads cannot be joined. The list is where a further
// manager's scanner stays known after the manager went.
DependencyScanner* KeptForEver(DependencyScanner* scanner) {
    static std::mutex guard;
    static auto* const scanners = new std::vector<DependencyScanner*>();
    const std::lock_guard lock(guard);
    scanners->push_back(scanner);
    return scanner;
}

// Deals with a rename that was interrupted, before anybody else gets to use the manager. That needs
// the generators, which ask for the manager themselves.
void MendOnce(CDependencyManager& manager) {
    enum : int { NotYet, Mending, Done };
    static std::atomic<int> state{NotYet};
    if (state.load(std::memory_order_acquire) == Done) return;
    const std::lock_guard lock(ManagerMutex());
    if (state != NotYet) return;  // this thread is mending, or another has just done so
    state = Mending;
    manager.RecoverRename();
    state = Done;
}

}  // namespace

CDependencyManager* CDependencyManager::GetSingletonPtr() {
    struct Singleton {
        Singleton() { g_singleton = &manager; }
        CDependencyManager manager;
    };
    static Singleton singleton;
    MendOnce(singleton.manager);
    return &singleton.manager;
}

CDependencyManager& CDependencyManager::GetSingleton() {
    return *GetSingletonPtr();
}

CDependencyManager::CDependencyManager() {
    if (!GeneralDependency::Instance()->Open()) {
        m_startError = GeneralDependency::Instance()->GetOpenError();
        return;
    }
    const std::string missing = Configuration::Locate().FirstMissing();
    if (!missing.empty()) {
        m_startError = missing + ": there is no such configuration file";
        return;
    }
    m_scanner = KeptForEver(new DependencyScanner());
}

CDependencyManager::~CDependencyManager() {
    const bool isSingleton = g_singleton.load() == this;
    // A scan that slept at the gate would keep a worker from everybody else's jobs; when the
    // singleton goes, there are none left to come.
    if (m_scanner && !isSingleton) m_scanner->PauseAndWait();
    // The scanner itself is left alive: its threads cannot be joined and sleep at the gate.
    if (m_scanner) m_scanner->Gate().Shut();
    GeneralDependency::Instance()->Close();
    // Only the singleton owns the generators; a further manager leaves them to it.
    if (!isSingleton) return;
    GeneratorRegistry::Instance().DeleteAll();
    g_singleton = nullptr;
}

void CDependencyManager::RegisterDependencyGenerator(CDependencyBase* generator) {
    GeneratorRegistry::Instance().Register(generator);
}

CDependencyBase* CDependencyManager::GetDependencyGenerator(const std::string& path) {
    const std::string extension = RegisteredExtension(path);
    if (!IsShared(extension)) return GeneratorRegistry::Instance().Find(extension);
    const Families families = FamiliesOf(extension);
    const ThreadSpare<vxio::JsonOutline> outline;
    return outline->Load(path) ? families.json : families.xml;
}

bool CDependencyManager::HasDependencyGenerator(const std::string& path) {
    const std::string extension = RegisteredExtension(path);
    if (IsShared(extension)) {
        const Families families = FamiliesOf(extension);
        if (!families.json == !families.xml) return families.xml != nullptr;
    }
    return GetDependencyGenerator(path) != nullptr;
}

std::string CDependencyManager::GetConfigurationError() {
    GeneratorRegistry::Instance().EnsureCreated(CreateGenerators);
    return ConfigurationError();
}

void CDependencyManager::GetRegisterExtList(List& out) {
    GeneratorRegistry::Instance().Extensions(out);
}

void CDependencyManager::BeginScan() {
    if (m_scanner) m_scanner->Exec();
}

void CDependencyManager::PauseScan() {
    if (m_scanner) m_scanner->Pause();
}

void CDependencyManager::BeginMonitor() {
    if (m_scanner) m_scanner->Monitor();
}

void CDependencyManager::DoWatch(bool on) {
    if (m_scanner) m_scanner->DoWatch(on);
}

void CDependencyManager::SetWaitingFile(const std::string& path) {
    if (m_scanner) m_scanner->SetWaitingFile(path);
}

void CDependencyManager::RegisterUpdateDependencyUIFunction(std::function<void(bool)> callback) {
    if (m_scanner) m_scanner->RegisterUpdateDependencyUIFunction(std::move(callback));
}

bool CDependencyManager::IsScanningFinished() {
    return m_scanner && m_scanner->IsScanningFinshed();
}

int CDependencyManager::GetScanProgress() {
    return m_scanner ? m_scanner->GetScanProgress() : 0;
}

int CDependencyManager::GetScanElapsedSecond() {
    return m_scanner ? m_scanner->GetScanElapsedSecond() : 0;
}

std::vector<FileInfoData> CDependencyManager::GetFileListBySuffix(const std::string& suffix) {
    if (!m_scanner) return {};
    return m_scanner->GetFileListBySuffix(suffix.c_str());
}

}  // namespace vexa
