// Pointers, handles and frames through the library beside the allocator a user would call instead. Every body makes a
// block, writes to it and frees it; nothing is kept between iterations but what the allocators keep themselves.
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Ratio.h"
#include "U.h"
#include "U_Memory.h"

namespace {

constexpr size_t kFrameSize = size_t{8} << 20;
constexpr size_t kPage = 4096;
constexpr size_t kMiB = size_t{1} << 20;

// An allocator as a pair of functions, so that a body is written once.
struct C {
    static void* Make(size_t size) { return std::malloc(size); }
    static void Drop(void* block) { std::free(block); }
};

struct Ours {
    static void* Make(size_t size) { return U_AllocatePtr(0x120001, "benchmark", size); }
    static void Drop(void* block) { U_FreePtr(block); }
};

struct Recycled {
    static void* Make(size_t size) { return U_AllocateRecycledPtr(0x120001, "benchmark", size); }
    static void Drop(void* block) { U_FreeRecycledPtr(block); }
};

struct Mimalloc {
    static inline void* (*s_make)(size_t) = nullptr;
    static inline void (*s_drop)(void*) = nullptr;

    static bool Load()
    {
        void* library = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
        if (!library) return false;
        s_make = reinterpret_cast<void* (*)(size_t)>(dlsym(library, "mi_malloc"));
        s_drop = reinterpret_cast<void (*)(void*)>(dlsym(library, "mi_free"));
        return s_make && s_drop;
    }

    static void* Make(size_t size) { return s_make(size); }
    static void Drop(void* block) { s_drop(block); }
};

template <class Allocator>
qlbench::Body OneOf(size_t size)
{
    return [size](benchmark::State& state) {
        for (auto _ : state) {
            auto* block = static_cast<char*>(Allocator::Make(size));
            *block = 1;
            benchmark::DoNotOptimize(block);
            Allocator::Drop(block);
        }
    };
}

// Frames that live together, as those of one composition do, each page of each touched.
template <class Allocator>
qlbench::Body Frames(size_t count)
{
    return [count](benchmark::State& state) {
        std::vector<char*> frames(count);
        for (auto _ : state) {
            for (char*& frame : frames) {
                frame = static_cast<char*>(Allocator::Make(kFrameSize));
                for (size_t at = 0; at < kFrameSize; at += kPage) frame[at] = 1;
            }
            benchmark::DoNotOptimize(frames.data());
            for (char* frame : frames) Allocator::Drop(frame);
        }
    };
}

// A thousand living blocks of 16 to 4111 bytes, one of them replaced a time.
template <class Allocator>
void Churn(benchmark::State& state)
{
    std::vector<void*> live(1000);
    uint32_t random = 1;
    const auto size = [&] {
        random = random * 1664525u + 1013904223u;
        return size_t{16} + (random >> 20);
    };
    for (auto& block : live) block = Allocator::Make(size());
    for (auto _ : state) {
        const size_t bytes = size();
        void*& block = live[(random >> 8) % 1000];
        Allocator::Drop(block);
        block = Allocator::Make(bytes);
        *static_cast<char*>(block) = 1;
    }
    for (void* block : live) Allocator::Drop(block);
}

void OursHandle(benchmark::State& state)
{
    for (auto _ : state) {
        char** handle = U_AllocateHandle(0x120001, "benchmark", 64);
        **handle = 1;
        benchmark::DoNotOptimize(handle);
        U_FreeHandle(handle);
    }
}

void PlainHandle(benchmark::State& state)
{
    for (auto _ : state) {
        auto** handle = static_cast<char**>(std::malloc(sizeof(char*)));
        *handle = static_cast<char*>(std::malloc(64));
        **handle = 1;
        benchmark::DoNotOptimize(handle);
        std::free(*handle);
        std::free(handle);
    }
}

// A request that no allocator can serve: how fast is the quiet no?
template <class Allocator>
void Refused(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(Allocator::Make(size_t{1} << 62));
}

struct OursQuiet {
    static void* Make(size_t size) { return U_AllocatePtrQuiet(size); }
};

// Blocks must hold what is written, whoever made them, and be told apart from one another.
template <class Allocator>
bool HoldsItsBytes()
{
    for (const size_t size : {size_t{64}, size_t{4096}, kMiB, kFrameSize}) {
        auto* first = static_cast<char*>(Allocator::Make(size));
        auto* second = static_cast<char*>(Allocator::Make(size));
        if (!first || !second) return false;
        std::memset(first, 'a', size);
        std::memset(second, 'b', size);
        const bool holds =
            first[0] == 'a' && first[size - 1] == 'a' && second[0] == 'b' && second[size - 1] == 'b';
        Allocator::Drop(first);
        Allocator::Drop(second);
        if (!holds) return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    if (U_Birth("benchmark", 1) != 0) return 1;
    U_AllowPurging();
    U_SetMemUsageLimits(uint64_t{12} << 30, uint64_t{16} << 30);
    if (!Mimalloc::Load() || !HoldsItsBytes<C>() || !HoldsItsBytes<Ours>() || !HoldsItsBytes<Recycled>() ||
        !HoldsItsBytes<Mimalloc>()) {
        std::fprintf(stderr, "an allocator does not do its work\n");
        return 1;
    }
    qlbench::Pair("pointer of 64 B / malloc", 1.5, OneOf<Ours>(64), OneOf<C>(64));
    qlbench::Pair("pointer of 4 KiB / malloc", 1.3, OneOf<Ours>(4096), OneOf<C>(4096));
    qlbench::Pair("handle of 64 B / cell and block", 1.2, OursHandle, PlainHandle);
    qlbench::Pair("pointer of 64 B, two threads / malloc", 3, OneOf<Ours>(64), OneOf<C>(64), {.threads = 2});
    qlbench::Pair("1 MiB under a limit / mimalloc", 1, OneOf<Ours>(kMiB), OneOf<Mimalloc>(kMiB));
    qlbench::Pair("1 MiB under a limit / malloc", 0, OneOf<Ours>(kMiB), OneOf<C>(kMiB));
    qlbench::Pair("recycled frame of 8 MiB, touched / malloc", 0.33, Frames<Recycled>(1), Frames<C>(1));
    qlbench::Pair("four recycled frames at once, touched / malloc", 0.33, Frames<Recycled>(4), Frames<C>(4));
    qlbench::Pair("churn of a thousand blocks / malloc", 0, Churn<Ours>, Churn<C>);
    qlbench::Pair("a request that is refused / malloc", 0, Refused<OursQuiet>, Refused<C>);
    const int result = qlbench::Main(argc, argv);
    return U_Death() == 0 ? result : 1;
}
