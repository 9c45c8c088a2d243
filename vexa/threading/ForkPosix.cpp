#include <pthread.h>

#include "vexa/threading/Fork.h"

namespace vexa {

void CallInForkedChild(void (*function)()) {
    pthread_atfork(nullptr, nullptr, function);
}

}  // namespace vexa
