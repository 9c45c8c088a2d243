#pragma once

#include <cstddef>
#include <vector>

namespace vexa::os {

// Memory for tables that are read anywhere: the system is asked for pages as large as it has them,
// so that the address of what is read is found sooner. Throws std::bad_alloc.
void* AllocateLargePages(std::size_t size);
void FreeLargePages(void* memory) noexcept;

template <class Value>
struct LargePages {
    using value_type = Value;

    LargePages() = default;
    template <class Other>
    LargePages(const LargePages<Other>&) {}

    Value* allocate(std::size_t count) {
        return static_cast<Value*>(AllocateLargePages(count * sizeof(Value)));
    }
    void deallocate(Value* memory, std::size_t) noexcept { FreeLargePages(memory); }

    friend bool operator==(const LargePages&, const LargePages&) { return true; }
};

template <class Value>
using LargeTable = std::vector<Value, LargePages<Value>>;

}  // namespace vexa::os
