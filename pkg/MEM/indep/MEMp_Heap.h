// The interface of a heap and the one heap that there is.
//
// The interface keeps slots for leak tracking, so that a tracking heap can stand in its place. The standard
// heap answers them with nothing: it is malloc with a header and a count. It has no data, so one object is
// one word.
#ifndef MEMP_HEAP_H
#define MEMP_HEAP_H

#include <cstdint>

#include "MEM.h"

// The order of these operations is the order of their slots, on which heaps of other packages are built.
struct _MEMp_BasicHeap {
    virtual ~_MEMp_BasicHeap() = default;
    virtual void* NewPtr(unsigned long size, const char* caller, const char* file, int line) = 0;
    virtual void DisposePtr(void* block) = 0;
    virtual unsigned long GetPtrSize(void* block) = 0;
    virtual void* ResizePtr(void* block, unsigned long size, const char* caller, const char* file,
                            int line) = 0;
    virtual char** NewHandle(unsigned long size, const char* caller, const char* file, int line) = 0;
    virtual long GetHandleSize(char** handle) = 0;
    virtual void FreeHandle(char** handle) = 0;
    virtual int SetHandleSize(char** handle, unsigned long size, const char* caller, const char* file,
                              int line) = 0;
    virtual int CheckHandleFromHeap(char** handle) = 0;
    virtual int ExemptPtrFromLeakCheck(void* block) = 0;
    virtual int ExemptHandleFromLeakCheck(char** handle) = 0;
    virtual void SetBaseline() = 0;
    virtual void Report(MEM_ReportFunc report) = 0;
    virtual void DumpLeaks() = 0;
};

class MEMp_StandardHeap final : public _MEMp_BasicHeap {
  public:
    /// Counts the object itself as in use; the destructor takes that back.
    MEMp_StandardHeap();
    ~MEMp_StandardHeap() override;

    void* NewPtr(unsigned long size, const char* caller, const char* file, int line) override;
    void DisposePtr(void* block) override;
    unsigned long GetPtrSize(void* block) override;
    void* ResizePtr(void* block, unsigned long size, const char* caller, const char* file, int line) override;
    char** NewHandle(unsigned long size, const char* caller, const char* file, int line) override;
    long GetHandleSize(char** handle) override;
    void FreeHandle(char** handle) override;
    int SetHandleSize(char** handle, unsigned long size, const char* caller, const char* file,
                      int line) override;
    int CheckHandleFromHeap(char** handle) override;
    int ExemptPtrFromLeakCheck(void* block) override;
    int ExemptHandleFromLeakCheck(char** handle) override;
    void SetBaseline() override;
    void Report(MEM_ReportFunc report) override;
    void DumpLeaks() override;
};

static_assert(sizeof(MEMp_StandardHeap) == sizeof(void*), "a heap holds nothing but its table of operations");

/// What stands in front of every pointer block.
struct MEMp_BlockHeader {
    std::uint64_t size;
    _MEMp_BasicHeap* heap;
};

static_assert(sizeof(MEMp_BlockHeader) == 16, "the header keeps the caller's bytes aligned to 16");

#endif
