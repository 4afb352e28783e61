#include "fakes/FailingNew.h"

#include <cstddef>
#include <new>

namespace {

// How many more non-throwing allocations of this thread are left until one fails, that one
// included; 0 when none is to fail.
thread_local int allocationsLeft = 0;

}  // namespace

FailingNew::FailingNew(int nth) {
    allocationsLeft = nth;
}

FailingNew::~FailingNew() {
    allocationsLeft = 0;
}

bool FailingNew::HasFailed() const {
    return allocationsLeft == 0;
}

// The memory comes from the throwing form, so that every form of delete, a sanitizer's included,
// takes it back.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (allocationsLeft > 0 && --allocationsLeft == 0) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    ::operator delete(memory);
}
