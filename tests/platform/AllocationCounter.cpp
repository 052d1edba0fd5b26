#include "tests/platform/AllocationCounter.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define LUMORA_SANITIZER_ALLOCATES
#endif
#endif

#ifdef LUMORA_SANITIZER_ALLOCATES
#include <sanitizer/allocator_interface.h>
#else
#include <cstdlib>
#include <new>
#endif

namespace {
thread_local size_t t_allocations = 0;
}

size_t lumora::allocationsOfThisThread() { return t_allocations; }

// A sanitizer keeps its own operators, which see mismatched pairs, and tells of every allocation.
#ifdef LUMORA_SANITIZER_ALLOCATES
static const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, size_t) { t_allocations++; }, [](const volatile void*) {});
#else
void* operator new(size_t size)
{
    t_allocations++;
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc {};
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
#endif
