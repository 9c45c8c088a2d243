#include "vexa/threading/StepGate.h"

#include <chrono>
#include <thread>

namespace vexa {
namespace {

// Not a wait for the gate's condition: destroying a condition that has waiters hangs.
[[noreturn]] void SleepForEver() {
    while (true) std::this_thread::sleep_for(std::chrono::hours(24));
}

}  // namespace

StepGate::Pass::Pass(StepGate& gate) : m_gate(gate) {
    std::unique_lock lock(gate.m_mutex);
    if (gate.m_shut) {
        lock.unlock();
        SleepForEver();
    }
    ++gate.m_inside;
}

StepGate::Pass::~Pass() {
    std::lock_guard lock(m_gate.m_mutex);
    --m_gate.m_inside;
    m_gate.m_changed.notify_all();
}

void StepGate::Shut() {
    std::unique_lock lock(m_mutex);
    m_shut = true;
    m_changed.wait(lock, [this] { return m_inside == 0; });
}

}  // namespace vexa
