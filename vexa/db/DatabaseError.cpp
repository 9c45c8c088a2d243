#include "vexa/db/DatabaseError.h"

#include <lmdb.h>

#include <utility>

namespace vexa {
namespace {

thread_local bool t_destroyed = false;

struct ThreadError {
    std::string text;
    ~ThreadError() { t_destroyed = true; }
};

// The main thread's variables are destroyed before static objects, whose destructors may still use
// a database.
std::string& ErrorOfThread() {
    static std::string& afterwards = *new std::string;
    thread_local ThreadError error;
    return t_destroyed ? afterwards : error.text;
}

}  // namespace

const std::string& LastDatabaseError() {
    return ErrorOfThread();
}

void SetDatabaseError(std::string text) {
    ErrorOfThread() = std::move(text);
}

void SetDatabaseError(const std::string& directory, const char* what, int code) {
    SetDatabaseError(directory + ": " + what + ": " + mdb_strerror(code));
}

}  // namespace vexa
