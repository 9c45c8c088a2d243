#pragma once

#include <string_view>

namespace vexa {

// Begins to fetch what is at an address into the caches, for who will read it soon and has other
// things to do until then. Any address will do.
#if defined(__GNUC__)
inline void Prefetch(const void* address) {
    __builtin_prefetch(address);
}
#else
inline void Prefetch(const void*) {}
#endif

// The same for a short text, which may lie across two lines of the caches.
inline void PrefetchText(std::string_view text) {
    Prefetch(text.data());
    if (!text.empty()) Prefetch(&text.back());
}

}  // namespace vexa
