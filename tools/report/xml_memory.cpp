#include "report/xml_memory.h"

#include <libxml/xmlmemory.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace quorvel::report {

namespace {

constexpr std::size_t kUnit = 16;
constexpr std::size_t kSmallUnits = 32;  // blocks with as many or more units come from malloc
constexpr std::size_t kChunkBytes = std::size_t{1} << 18;

// Precedes each block. No data of libxml2 needs a larger alignment than this record.
struct Head {
    std::size_t units;
};

struct FreeBlock {
    Head head;
    FreeBlock* next;
};
static_assert(sizeof(FreeBlock) <= kUnit);

std::array<FreeBlock*, kSmallUnits> g_Free{};  // by the number of units
char* g_Chunk = nullptr;
std::size_t g_ChunkUnits = 0;  // left in the chunk

Head* HeadOf(void* data) {
    return static_cast<Head*>(data) - 1;
}

// Takes a block from the chunk. The rest of a full chunk stays unused.
Head* Cut(std::size_t units) {
    if (g_ChunkUnits < units) {
        g_Chunk = static_cast<char*>(std::malloc(kChunkBytes));
        g_ChunkUnits = g_Chunk == nullptr ? 0 : kChunkBytes / kUnit;
        if (g_Chunk == nullptr) {
            return nullptr;
        }
    }
    Head* head = reinterpret_cast<Head*>(g_Chunk);
    g_Chunk += units * kUnit;
    g_ChunkUnits -= units;
    return head;
}

Head* Take(std::size_t units) {
    if (units >= kSmallUnits) {
        return static_cast<Head*>(std::malloc(units * kUnit));
    }
    FreeBlock* block = g_Free[units];
    if (block == nullptr) {
        return Cut(units);
    }
    g_Free[units] = block->next;
    return &block->head;
}

std::size_t UnitsFor(std::size_t size) {
    return (size + sizeof(Head) + kUnit - 1) / kUnit;
}

void* Allocate(std::size_t size) {
    const std::size_t units = UnitsFor(size);
    Head* head = size > PTRDIFF_MAX ? nullptr : Take(units);
    if (head == nullptr) {
        return nullptr;
    }
    head->units = units;
    return head + 1;
}

void Release(void* data) {
    if (data == nullptr) {
        return;
    }
    Head* head = HeadOf(data);
    if (head->units >= kSmallUnits) {
        std::free(head);
        return;
    }
    auto* block = reinterpret_cast<FreeBlock*>(head);
    block->next = g_Free[head->units];
    g_Free[head->units] = block;
}

void* Reallocate(void* data, std::size_t size) {
    if (data == nullptr) {
        return Allocate(size);
    }
    const std::size_t before = HeadOf(data)->units;
    if (before == UnitsFor(size)) {
        return data;
    }
    void* other = Allocate(size);
    if (other != nullptr) {
        std::memcpy(other, data, std::min(size, before * kUnit - sizeof(Head)));
        Release(data);
    }
    return other;
}

char* Duplicate(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    void* copy = Allocate(size);
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}

}  // namespace

void UseXmlMemory() {
    xmlMemSetup(Release, Allocate, Reallocate, Duplicate);
}

}  // namespace quorvel::report
