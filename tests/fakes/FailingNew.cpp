#include "fakes/FailingNew.h"

#include <cstddef>
#include <new>

namespace {

// The number of non-throwing allocations of this thread up to and including the failing allocation;
// 0 if every allocation succeeds.
thread_local int g_AllocationsLeft = 0;

// Counts one allocation. Returns whether this allocation fails.
bool IsAllocationToFail() {
    if (g_AllocationsLeft == 0) {
        return false;
    }
    --g_AllocationsLeft;
    return g_AllocationsLeft == 0;
}

}  // namespace

FailingNew::FailingNew(int nth) {
    g_AllocationsLeft = nth;
}

FailingNew::~FailingNew() {
    g_AllocationsLeft = 0;
}

bool FailingNew::HasFailed() const {
    return g_AllocationsLeft == 0;
}

// The memory comes from the throwing form, so that every form of delete can free it, including the
// forms of a sanitizer.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (IsAllocationToFail()) {
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
