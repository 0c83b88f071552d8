// Blocks travel in batches of kBatch: a thread keeps two batches of each size (one it works on, one in spare) and
// exchanges whole ones with the depot under the depot's lock, so each exchange pays for kBatch calls. A new batch
// is one allocation of the C++ heap. Nothing goes back to the heap.
//
// State: g_depots, made at load time and never destroyed; guard: one lock a size class. A thread's magazines are
// its own; at its end they go to the depots, and what the thread still frees after that goes there directly.
#include "zvkcore/allocator/SmallBlockAllocator.h"

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

#include "RecyclerPool.h"
#include "SystemMemory.h"
#include "zvkcore/allocator/RecyclingAllocator.h"

namespace zvkcore::allocator {
namespace {

constexpr std::size_t kStep = 16;
constexpr std::size_t kClasses = SmallBlockAllocator::kLargest / kStep + 1;  // the first is for size 0
constexpr std::uint32_t kBatch = 32;

struct Block {
    Block* next;       // in the batch
    Block* nextBatch;  // in the depot; meaningful in a batch's first block only
};
static_assert(sizeof(Block) <= kStep);

struct Batch {
    Block* top = nullptr;
    std::uint32_t count = 0;
};

struct Magazine : Batch {
    Block* spare = nullptr;  // a full batch, or null
};

struct alignas(64) Depot {
    std::mutex guard;
    Block* full = nullptr;  // batches of kBatch
    Block* few = nullptr;   // of fewer: what a thread left behind, and what was freed after its end
};

constinit Depot g_depots[kClasses];

struct Magazines {
    Magazine ofClass[kClasses];
};

constexpr std::size_t ClassOf(std::size_t size)
{
    return (size + kStep - 1) / kStep;
}
constexpr std::size_t BytesOf(std::size_t c)
{
    return c == 0 ? kStep : c * kStep;
}

void Deposit(std::size_t c, Batch batch)
{
    if (batch.top == nullptr) return;
    const std::lock_guard lock{g_depots[c].guard};
    Block*& waiting = batch.count == kBatch ? g_depots[c].full : g_depots[c].few;
    batch.top->nextBatch = waiting;
    waiting = batch.top;
}

Block* Withdraw(Block*& waiting)
{
    Block* const top = waiting;
    if (top != nullptr) waiting = top->nextBatch;
    return top;
}

std::uint32_t Count(const Block* top)
{
    std::uint32_t count = 0;
    for (; top != nullptr; top = top->next) ++count;
    return count;
}

// Full batches first: to count one is to wait for the memory of each of its blocks. For the same reason nobody
// else waits meanwhile: a batch that was taken out is counted behind the lock.
Batch Withdraw(std::size_t c)
{
    std::unique_lock lock{g_depots[c].guard};
    if (Block* const top = Withdraw(g_depots[c].full)) return {top, kBatch};
    Block* const top = Withdraw(g_depots[c].few);
    lock.unlock();
    return {top, Count(top)};
}

// The heap's own new handler may report and allocate small blocks meanwhile: no lock is held here.
Batch MakeBatch(std::size_t c, std::uint32_t count)
{
    const std::size_t bytes = BytesOf(c);
    auto* const room = static_cast<char*>(::operator new(bytes* count));
    Block* next = nullptr;
    for (std::uint32_t i = count; i-- > 0;) {
        next = new (room + i * bytes) Block{next, nullptr};
    }
    return {next, count};
}

// The magazines of the thread: null before its first block and after its end. The pointer alone is reached by
// the fast model, which a library that is loaded late may use for a few bytes only.
__attribute__((tls_model("initial-exec"))) thread_local constinit Magazines* t_magazines = nullptr;
thread_local constinit Magazines t_room;
thread_local constinit bool t_ended = false;

struct AtThreadEnd {
    ~AtThreadEnd()
    {
        t_magazines = nullptr;
        t_ended = true;
        for (std::size_t c = 0; c < kClasses; ++c) {
            Magazine& magazine = t_room.ofClass[c];
            Deposit(c, magazine);
            Deposit(c, {magazine.spare, kBatch});
            magazine = {};
        }
    }
    void Watch() const noexcept {}
};
thread_local AtThreadEnd t_atEnd;

Magazines* EnterThread()
{
    if (t_ended) return nullptr;
    t_atEnd.Watch();
    return t_magazines = &t_room;
}

void* TakeFromDepot(std::size_t c)
{
    const Batch batch = Withdraw(c);
    if (batch.top == nullptr) return MakeBatch(c, 1).top;
    Deposit(c, {batch.top->next, batch.count - 1});
    return batch.top;
}

void Refill(std::size_t c, Magazine& magazine)
{
    Batch batch{std::exchange(magazine.spare, nullptr), kBatch};
    if (batch.top == nullptr) batch = Withdraw(c);
    if (batch.top == nullptr) batch = MakeBatch(c, kBatch);
    Deposit(c, magazine);  // usually nothing: the new handler may have filled it meanwhile
    static_cast<Batch&>(magazine) = batch;
}

void* Pop(Magazine& magazine)
{
    Block* const block = magazine.top;
    magazine.top = block->next;
    --magazine.count;
    __builtin_prefetch(magazine.top, 1);  // its link is what the next call waits for
    return block;
}

void Push(Magazine& magazine, void* block)
{
    Block* const top = new (block) Block;  // its link between batches is set when it heads one
    top->next = magazine.top;
    magazine.top = top;
    ++magazine.count;
}

// What is rare stands apart, so that the common way needs no stack frame.
[[gnu::noinline]] void* AllocateSlowly(std::size_t c)
{
    Magazines* const magazines = t_magazines != nullptr ? t_magazines : EnterThread();
    if (magazines == nullptr) return TakeFromDepot(c);
    Magazine& magazine = magazines->ofClass[c];
    if (magazine.top == nullptr) Refill(c, magazine);
    return Pop(magazine);
}

[[gnu::noinline]] void DisposeSlowly(std::size_t c, void* block)
{
    Magazines* const magazines = t_magazines != nullptr ? t_magazines : EnterThread();
    if (magazines == nullptr) {
        Deposit(c, {new (block) Block{nullptr, nullptr}, 1});
        return;
    }
    Magazine& magazine = magazines->ofClass[c];
    if (magazine.count == kBatch) {
        Deposit(c, {magazine.spare, kBatch});
        magazine.spare = std::exchange(magazine.top, nullptr);
        magazine.count = 0;
    }
    Push(magazine, block);
}

// The common way of a small block stands in each of its callers: strings and containers come here for every block.
[[gnu::always_inline]] inline void* AllocateSmall(std::size_t size)
{
    if (kAddressesAreChecked) return ::operator new(size);
    const std::size_t c = ClassOf(size);
    Magazines* const magazines = t_magazines;
    if (magazines == nullptr || magazines->ofClass[c].top == nullptr) [[unlikely]]
        return AllocateSlowly(c);
    return Pop(magazines->ofClass[c]);
}

[[gnu::always_inline]] inline void DisposeSmall(void* block, std::size_t size) noexcept
{
    if (kAddressesAreChecked) return ::operator delete(block);
    if (block == nullptr) return;
    const std::size_t c = ClassOf(size);
    Magazines* const magazines = t_magazines;
    if (magazines == nullptr || magazines->ofClass[c].count == kBatch) [[unlikely]]
        return DisposeSlowly(c, block);
    Push(magazines->ofClass[c], block);
}

}  // namespace

void* SmallBlockAllocator::Allocate(std::size_t size)
{
    return size <= kLargest ? AllocateSmall(size) : ::operator new(size);
}

void SmallBlockAllocator::Dispose(void* block, std::size_t size) noexcept
{
    size <= kLargest ? DisposeSmall(block, size) : ::operator delete(block);
}

void* AllocateContainerBlock(std::size_t bytes)
{
    return bytes <= SmallBlockAllocator::kLargest ? AllocateSmall(bytes) : AllocateLargeContainerBlock(bytes);
}

void DisposeContainerBlock(void* block, std::size_t bytes) noexcept
{
    bytes <= SmallBlockAllocator::kLargest ? DisposeSmall(block, bytes)
                                           : DisposeLargeContainerBlock(block, bytes);
}

}  // namespace zvkcore::allocator
