/// Blocks and objects of the plug-in host: memory that knows what it is for.
#ifndef MVP_BLOCKS_H
#define MVP_BLOCKS_H

#include <new>
#include <utility>

#include "MV.h"

/// Allocates zeroed memory and keeps the description, by its pointer, for the report of leaks.
///
/// returns  0; 4, and then `*block` is null
Err mvIntAllocateBlock(uint64_t size, const char* description, void** block);

/// Null does nothing.
void mvIntFreeBlock(void* block);

/// An object in such a block; null without memory. What its constructor throws passes on.
template <class T>
T* mvNew(const char* description)
{
    void* block = nullptr;
    if (mvIntAllocateBlock(sizeof(T), description, &block) != U_Err_NONE) return nullptr;
    try {
        return new (block) T{};
    } catch (...) {
        mvIntFreeBlock(block);
        throw;
    }
}

/// Ends an object of `mvNew`; null does nothing.
template <class T>
void mvDelete(T* object)
{
    if (!object) return;
    object->~T();
    mvIntFreeBlock(object);
}

#endif
