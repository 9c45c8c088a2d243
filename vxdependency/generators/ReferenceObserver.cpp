#include "vxdependency/generators/ReferenceObserver.h"

namespace vexa {

namespace {

thread_local IReferenceObserver* t_observer = nullptr;

}  // namespace

IReferenceObserver* IReferenceObserver::OfThisThread() {
    return t_observer;
}

ObserverUse::ObserverUse(IReferenceObserver* observer)
    : m_before(std::exchange(t_observer, observer)) {}

ObserverUse::~ObserverUse() {
    t_observer = m_before;
}

void ReportReference(const ReferenceReport& report) {
    if (t_observer) t_observer->OnReference(report);
}

void ReportAbsent(const std::string& key) {
    if (t_observer) t_observer->OnAbsent(key);
}

void ReportReadThrough(const std::string& key) {
    if (t_observer) t_observer->OnReadThrough(key);
}

void ReportRewrite(const std::string& file, const IReferenceSite& site, const std::string& oldText,
                   const std::string& newText) {
    if (t_observer) t_observer->OnRewrite({file, site.Describe(), oldText, newText});
}

std::string ImageFamily(const std::string& key) {
    return key.substr(0, key.rfind('.') + 1) + '*';
}

}  // namespace vexa
