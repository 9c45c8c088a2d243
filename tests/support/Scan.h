#pragma once

#include <chrono>
#include <stdexcept>

#include "vexa/threading/CommandQueue.h"
#include "vxdependency/manager/DependencyManager.h"
#include "vxdependency/scanner/DependencyScanner.h"

namespace vexa::test {

// Runs the editor thread's commands until a signal has been emitted `times` times.
template <class Signal>
class SignalWait {
public:
    SignalWait() {
        m_token = CDependencyManager::GetSingleton().Connect<Signal>([this] { ++m_count; });
    }
    ~SignalWait() { CDependencyManager::GetSingleton().Disconnect<Signal>(m_token); }
    SignalWait(const SignalWait&) = delete;
    SignalWait& operator=(const SignalWait&) = delete;

    int Count() const { return m_count; }
    void Until(int times) {
        while (m_count < times) {
            if (vxThread<0>::Handle.wait_and_run(std::chrono::minutes(1)) == 0) {
                throw std::runtime_error("no command reached the editor thread for a minute");
            }
        }
    }

private:
    vxcore::DelegateList::Token m_token;
    int m_count = 0;
};

// Scans the whole tree and returns what the scan did.
inline ScanStatistics Scan() {
    CDependencyManager& manager = CDependencyManager::GetSingleton();
    SignalWait<CDependencyManager::ScanFinished> finished;
    manager.BeginScan();
    finished.Until(1);
    return manager.GetScanner()->GetStatistics();
}

}  // namespace vexa::test
