#pragma once

#include <atomic>

#include "vexa/Export.h"

namespace vexa::binding {

// Base of the objects that AutoRef owns. Any thread may add and drop references.
class VX_API RefCounted {
public:
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    void AddRef() { ++m_references; }
    void Release() {
        if (--m_references == 0) delete this;
    }

protected:
    RefCounted() = default;
    virtual ~RefCounted() = default;

private:
    std::atomic<int> m_references{0};
};

}  // namespace vexa::binding
