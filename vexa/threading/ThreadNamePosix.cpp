#include <pthread.h>

#include "vexa/threading/ThreadName.h"

namespace vexa {
namespace {
constexpr std::size_t kNameLimit = 15;  // Linux refuses longer names
}

void SetThreadName(const std::string& name) {
    pthread_setname_np(pthread_self(), name.substr(0, kNameLimit).c_str());
}

std::string GetThreadName() {
    char name[kNameLimit + 1] = "";
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

}  // namespace vexa
