// Tables of messages, and the list of the static tables that hold texts.
//
// Process-wide state: `g_emancipator`, between birth and death, under `g_emancipatorMutex`, which also guards
// every addition to it; `g_finalTextMutex`, under which rows without a key get their copies.
//
// The texts of all other rows are filled in without a lock: a field moves once from null to its text, by an
// atomic exchange, and the text of a thread that came second is freed.
#include "U_LStr.h"

#include <atomic>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "U_TrySection.h"
#include "U_ZString.h"
#include "Up_LStr.h"

namespace {

constexpr const char* kNoText = "[?]";

U_ZLStrCache* Table(U_ZLStrCache_Opaque* cache)
{
    return reinterpret_cast<U_ZLStrCache*>(cache);
}

template <class T>
T Load(T& field)
{
    return std::atomic_ref<T>(field).load(std::memory_order_acquire);
}

void AddFlags(uint32_t& flags, uint32_t more)
{
    std::atomic_ref<uint32_t>(flags).fetch_or(more, std::memory_order_acq_rel);
}

bool IsValid(U_ZLStrCache* cache)
{
    constexpr uint32_t kBoth = U_LStrCache_PRIVATE_COPY | U_LStrCache_HELD;
    if (!cache || (Load(cache->flags) & kBoth) == kBoth || cache->count < 1 || !cache->entries) return false;
    const U_ZLStrCacheEntry& closing = cache->entries[cache->count - 1];
    return !closing.key && closing.flags == 0;
}

// Wanted: a damaged record ends the process, with no words. With an exception under way it is that one which
// goes on, since the damage came with it.
void Require(U_ZLStrCache* cache)
{
    if (!IsValid(cache)) throw;
}

void FreeOwned(char*& text)
{
    std::free(text);
    text = nullptr;
}

// The closing row is gone through as well: it owns nothing.
void Up_ZCacheDisposeEntries(U_ZLStrCache* cache)
{
    if (!IsValid(cache)) return;
    for (int32_t at = 0; at < cache->count; ++at) {
        U_ZLStrCacheEntry& row = cache->entries[at];
        const char* const key = row.key;
        const char* const localized = row.localized;  // before it is nulled: both fields may share a block
        if ((row.flags & U_LStrRow_OWNS_KEY) != 0 && row.key) FreeOwned(row.key);
        if (row.localized && (row.flags & U_LStrRow_OWNS_LOCALIZED) != 0 && row.localized != key) {
            FreeOwned(row.localized);
        }
        if (row.english && (row.flags & U_LStrRow_OWNS_ENGLISH) != 0 && row.english != key &&
            row.english != localized) {
            FreeOwned(row.english);
        }
    }
}

// The static tables that have taken texts, freed with it.
class Up_ZEmancipator {
  public:
    Up_ZEmancipator() { m_tables.reserve(kRoomAtBirth); }
    Up_ZEmancipator(const Up_ZEmancipator&) = delete;
    Up_ZEmancipator& operator=(const Up_ZEmancipator&) = delete;

    // Wanted: the tables stay marked as held, so what they convert from now on is not freed.
    ~Up_ZEmancipator()
    {
        for (U_ZLStrCache* table : m_tables) {
            if (!IsValid(table)) __builtin_trap();
            Up_ZCacheDisposeEntries(table);
            if ((table->flags & U_LStrCache_PRIVATE_COPY) != 0) {
                std::free(table->entries);
                std::free(table->name);
            }
        }
    }

    void Add(U_ZLStrCache* table) { m_tables.push_back(table); }
    void Remove(U_ZLStrCache* table) { std::erase(m_tables, table); }

  private:
    static constexpr size_t kRoomAtBirth = 1000;
    std::vector<U_ZLStrCache*> m_tables;
};

boost::mutex g_finalTextMutex;
boost::mutex g_emancipatorMutex;
std::unique_ptr<Up_ZEmancipator> g_emancipator;

void Hold(U_ZLStrCache* cache)
{
    constexpr uint32_t kEither = U_LStrCache_PRIVATE_COPY | U_LStrCache_HELD;
    if ((Load(cache->flags) & kEither) != 0) return;
    const boost::lock_guard<boost::mutex> lock(g_emancipatorMutex);
    if (!g_emancipator || (Load(cache->flags) & kEither) != 0) return;
    g_emancipator->Add(cache);
    AddFlags(cache->flags, U_LStrCache_HELD);
}

// A copy on the C heap; null when there is no memory.
char* CopyText(const char* text)
{
    // Wanted: a length that no `int` can hold was never expected, and asks for one byte. Such a text is then
    // not copied.
    constexpr size_t kTooLong = 0x7FFFFFFF;
    const size_t length = std::strlen(text);
    const size_t kept = length < kTooLong ? length : 0;
    auto* const copy = static_cast<char*>(std::malloc(kept + 1));
    if (!copy) return nullptr;
    std::memcpy(copy, text, kept);
    copy[kept] = 0;
    return copy;
}

// Puts a text into an empty field and gives the text that the field then has.
char* Publish(char*& field, char* text)
{
    char* present = nullptr;
    if (std::atomic_ref<char*>(field).compare_exchange_strong(present, text, std::memory_order_acq_rel)) {
        return text;
    }
    std::free(text);
    return present;
}

bool WantsLocalized(short english)
{
    return english == 0 && U_ZLocaleAlive();
}

// A row without a key: one block for both languages, which is never replaced, since callers hold it. When
// memory runs out the row keeps its text.
char* AllocateFinalText(U_ZLStrCacheEntry& row)
{
    const boost::lock_guard<boost::mutex> lock(g_finalTextMutex);
    char* text = Load(row.localized);
    if (!text) return nullptr;
    if ((Load(row.flags) & U_LStrRow_OWNS_LOCALIZED) == 0) {
        text = CopyText(text);
        if (!text) return nullptr;
        std::atomic_ref<char*>(row.localized).store(text, std::memory_order_release);
    }
    std::atomic_ref<char*>(row.english).store(text, std::memory_order_release);
    AddFlags(row.flags, U_LStrRow_OWNS_LOCALIZED | U_LStrRow_OWNS_ENGLISH);
    return text;
}

char* Up_ZAllocEntryStr(U_ZLStrCacheEntry& row, bool localized)
{
    if ((Load(row.flags) & U_LStrRow_FINAL_TEXT) != 0) return AllocateFinalText(row);
    if (!row.key) return nullptr;
    const std::string text = localized ? U_ZStringToMBString(row.key) : U_ZStringToEnglishMBString(row.key);
    char* const result = Publish(localized ? row.localized : row.english, CopyText(text.c_str()));
    AddFlags(row.flags, localized ? U_LStrRow_OWNS_LOCALIZED : U_LStrRow_OWNS_ENGLISH);
    return result;
}

const char* Lookup(U_ZLStrCache* cache, int index, short english)
{
    Require(cache);
    if (index < 0 || index >= cache->count - 1) return nullptr;
    U_ZLStrCacheEntry& row = cache->entries[index];
    const bool localized = WantsLocalized(english);
    if (const char* text = Load(localized ? row.localized : row.english)) return text;
    const char* const text = Up_ZAllocEntryStr(row, localized);
    if (text) Hold(cache);
    return text;
}

// Lets go of a static table that may go away, with its texts.
void Release(U_ZLStrCache* cache)
{
    const boost::lock_guard<boost::mutex> lock(g_emancipatorMutex);
    if (g_emancipator) g_emancipator->Remove(cache);
    std::atomic_ref<uint32_t>(cache->flags).fetch_and(~uint32_t{U_LStrCache_HELD});
}

void FreeRowsAndName(U_ZLStrCache* cache)
{
    std::free(cache->entries);
    std::free(cache->name);
    cache->entries = nullptr;
    cache->name = nullptr;
    cache->count = 0;
}

// Copies a field if there is one, and marks it as owned. False when memory ran out.
bool CopyField(const char* from, char*& to, uint32_t& flags, uint32_t owned)
{
    if (!from) return true;
    to = CopyText(from);
    if (to) flags |= owned;
    return to != nullptr;
}

bool CopyRow(const U_ZLStrCacheEntry& from, U_ZLStrCacheEntry& to, bool deep)
{
    const bool keepsLocalized = deep || (from.flags & U_LStrRow_FINAL_TEXT) != 0;
    to.flags = from.flags;
    return CopyField(from.key, to.key, to.flags, U_LStrRow_OWNS_KEY) &&
           CopyField(keepsLocalized ? from.localized : nullptr, to.localized, to.flags,
                     U_LStrRow_OWNS_LOCALIZED) &&
           CopyField(deep ? from.english : nullptr, to.english, to.flags, U_LStrRow_OWNS_ENGLISH);
}

bool CopyRows(const U_ZLStrCache& from, U_ZLStrCache& to, bool deep)
{
    uint32_t flags = 0;
    if (!CopyField(from.name, to.name, flags, 0)) return false;
    to.entries =
        static_cast<U_ZLStrCacheEntry*>(std::calloc(static_cast<size_t>(from.count), sizeof *to.entries));
    if (!to.entries) return false;
    to.count = from.count;
    // The closing row, all zero, is there already; the words that mark it in a static table are no texts.
    for (int32_t at = 0; at < from.count - 1; ++at) {
        if (!CopyRow(from.entries[at], to.entries[at], deep)) return false;
    }
    return true;
}

void FreeCopy(U_ZLStrCache* copy)
{
    Up_ZCacheDisposeEntries(copy);
    FreeRowsAndName(copy);
    std::free(copy);
}

}  // namespace

U_ZLStrCache* Up_ZCacheDeepCopy(U_ZLStrCache* cache, bool deep)
{
    if (!IsValid(cache)) return nullptr;
    auto* const copy = static_cast<U_ZLStrCache*>(std::calloc(1, sizeof(U_ZLStrCache)));
    if (!copy) return nullptr;
    // The copy is held by nobody: with both flags it would not be valid.
    copy->flags = Load(cache->flags) & ~uint32_t{U_LStrCache_HELD};
    if (CopyRows(*cache, *copy, deep)) return copy;
    FreeCopy(copy);
    return nullptr;
}

int Up_ZLStrBirth()
{
    return U_TrySection([] {
        auto fresh = std::make_unique<Up_ZEmancipator>();
        const boost::lock_guard<boost::mutex> lock(g_emancipatorMutex);
        // A second birth is not refused; the texts of the first one are in use.
        if (!g_emancipator) g_emancipator = std::move(fresh);
    });
}

int Up_ZLStrDeath()
{
    const boost::lock_guard<boost::mutex> lock(g_emancipatorMutex);
    g_emancipator.reset();
    return U_Err_NONE;
}

const char* U_ZLookupLStrCache(U_ZLStrCache_Opaque* cache, int index, short english, int* status)
{
    const char* text = nullptr;
    const Err result = U_TrySection([&] { text = Lookup(Table(cache), index, english); });
    if (status) *status = result;
    return text ? text : kNoText;
}

Err U_ZGetLengthLStrCache(U_ZLStrCache_Opaque* cache, int* length)
{
    if (!length) return U_Err_NONE;
    return U_TrySection([&] {
        Require(Table(cache));
        *length = Table(cache)->count - 1;
    });
}

Err U_ZRegisterLStrCache(U_ZLStrCache_Opaque** ref)
{
    if (!ref) return U_Err_NONE;
    return U_TrySection([&]() -> Err {
        U_ZLStrCache* const former = Table(*ref);
        Require(former);
        U_ZLStrCache* const copy = Up_ZCacheDeepCopy(former, false);
        if (!copy) return U_Err_OUT_OF_MEMORY;
        copy->flags |= U_LStrCache_PRIVATE_COPY;
        *ref = reinterpret_cast<U_ZLStrCache_Opaque*>(copy);
        Up_ZCacheDisposeEntries(former);
        if ((former->flags & U_LStrCache_PRIVATE_COPY) != 0) {
            FreeRowsAndName(former);  // wanted: the record stays, since others may hold it
        } else {
            Release(former);
        }
        return U_Err_NONE;
    });
}

Err U_ZUnregisterLStrCache(U_ZLStrCache_Opaque** ref)
{
    if (!ref) return U_Err_NONE;
    return U_TrySection([&]() -> Err {
        U_ZLStrCache* const cache = Table(*ref);
        Require(cache);
        if ((cache->flags & U_LStrCache_PRIVATE_COPY) == 0) return U_Err_BAD_PARAMETER;
        FreeCopy(cache);
        *ref = nullptr;
        return U_Err_NONE;
    });
}
