#include <sys/mman.h>

#include <new>

#include "vexa/os/LargePages.h"

namespace vexa::os {

namespace {

constexpr std::size_t kPage = std::size_t{2} << 20;  // of x86-64 and most of AArch64

bool IsLarge(std::size_t bytes) {
    return bytes >= 2 * kPage;
}

}  // namespace

void* AllocateLarge(std::size_t bytes) {
    if (!IsLarge(bytes)) return ::operator new(bytes);
    void* const memory = ::operator new(bytes, std::align_val_t(kPage));
    // Whole pages alone, so that no more memory is used than was asked for. It is a hint.
    ::madvise(memory, bytes / kPage * kPage, MADV_HUGEPAGE);
    return memory;
}

void FreeLarge(void* memory, std::size_t bytes) noexcept {
    IsLarge(bytes) ? ::operator delete(memory, std::align_val_t(kPage)) : ::operator delete(memory);
}

}  // namespace vexa::os
