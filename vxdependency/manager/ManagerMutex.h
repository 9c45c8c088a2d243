#pragma once

#include <mutex>

namespace vexa {

// The mutex of the operations that write resource files or the store; recursive, because the
// generators' slots call back into the manager. One for the process, since all managers share one
// store. It is taken before the store's own locks. Nothing that can wait for another thread (a UI
// callback, a signal, a log sink) runs under it.
inline std::recursive_mutex& ManagerMutex() {
    // Never destroyed: background threads may hold it when the process ends.
    static auto* const mutex = new std::recursive_mutex();
    return *mutex;
}

}  // namespace vexa
