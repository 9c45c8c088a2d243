#include <sys/mman.h>

#include <cstdlib>
#include <new>

#include "vexa/os/LargePages.h"

namespace vexa::os {

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

}  // namespace

void* AllocateLargePages(std::size_t size) {
    const bool large = size >= 2 * kLargePage;
    void* const memory =
        large ? std::aligned_alloc(kLargePage, (size + kLargePage - 1) & ~(kLargePage - 1))
              : std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    // A hint. Of the last page just a part may be needed.
    if (large) ::madvise(memory, size / kLargePage * kLargePage, MADV_HUGEPAGE);
    return memory;
}

void FreeLargePages(void* memory) noexcept {
    std::free(memory);
}

}  // namespace vexa::os
