#pragma once

#include <condition_variable>
#include <mutex>

namespace vexa {

// A gate that background threads pass for each step of their work, so that whoever shuts it knows
// that no step is running and none will start. Used at process exit, when threads cannot be joined.
class StepGate {
public:
    // Passes the gate for the life of the object; when the gate is shut, never returns.
    class Pass {
    public:
        explicit Pass(StepGate& gate);
        ~Pass();
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

    private:
        StepGate& m_gate;
    };

    // Waits for the steps in progress; later ones sleep for ever. Must not be called inside a step.
    void Shut();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_inside = 0;
    bool m_shut = false;
};

}  // namespace vexa
