// What the user reads when memory could not be had.
//
// State: a guard per thread, since building and showing the message allocates and may fail in turn.
#include <exception>

#include "ALOG.h"
#include "U_Err.h"
#include "U_String.h"
#include "U_TrySection.h"
#include "U_ZString.h"
#include "Up_Memory.h"
#include "Up_TraceLine.h"
#include "zvkcore/string/Convert.h"
#include "zvkcore/string/Format.h"
#include "zvkcore/utility/System.h"

// Where the messages send the user for help. A product that translates or brands the texts replaces the whole
// message by its key in a dictionary, this address included.
#define UP_MEMORY_HELP_ADDRESS "https://example.com/help/memory"

namespace {

struct Message {
    const char* key;
    double unit;  // bytes in one of the unit that the text names
    unsigned long decimals;
};

// Users quote the numbers in these texts to support, so they stay.
constexpr Message kNotEnough = {
    "$$$/QL/U/CannotAllocateEnoughMemory=Unable to allocate @0 MB of memory. Either decrease the memory "
    "requirements for the rendering of this frame, or install more RAM. (12803@1). For more information, "
    "see " UP_MEMORY_HELP_ADDRESS,
    0x1p20, 3};
constexpr Message kBeyondLimit = {
    "$$$/QL/U/MemoryLimitReached=Memory allocation of @0 GB exceeds internal limits. Decrease the memory "
    "requirements for the rendering of this frame. (12802@1). For more information, "
    "see " UP_MEMORY_HELP_ADDRESS,
    0x1p30, 1};

constexpr unsigned long kIntegerDigits = 1;
constexpr unsigned int kNoFlags = 0;
constexpr int kNumberWidth = 31;

constinit thread_local bool t_reporting = false;

class ReportingGuard {
  public:
    ReportingGuard() { t_reporting = true; }
    ~ReportingGuard() { t_reporting = false; }
    ReportingGuard(const ReportingGuard&) = delete;
    ReportingGuard& operator=(const ReportingGuard&) = delete;
};

void TracePossibleFragmentation(unsigned long long size)
{
    static constinit U_TraceLine s_line("U", 6);
    s_line([&] {
        unsigned long long largest = 0;
        unsigned long long used = 0;
        U_GetMemoryStat(U_MemStat_LARGEST_BLOCK, &largest);
        U_GetMemoryStat(U_MemStat_IN_USE, &used);
        // The line has always shown the low 32 bits.
        return ALOG_convertMesg("POSS_FRAGMENTATION", "maxblock:%d request:%d installed:%d used:%d",
                                static_cast<int>(largest), static_cast<int>(size),
                                static_cast<int>(zvkcore::utility::TotalPhysicalMemory()),
                                static_cast<int>(used));
    });
}

U_UTF16String FailureText(unsigned long long size, const char* name)
{
    U_UTF16String suffix;
    if (name) suffix = zvkcore::string::AsciiToUTF16(" / ") + U_MBToUTF16String(name);
    const Message& message = (size >> kRequestLimitShift) == 0 ? kNotEnough : kBeyondLimit;
    const U_UTF16String number = zvkcore::string::NumberToString(
        static_cast<double>(size) / message.unit, kIntegerDigits, message.decimals, kNoFlags, kNumberWidth);
    return zvkcore::string::ReplaceInString(U_ZStringToUTF16String(message.key), number, suffix);
}

}  // namespace

void Up_ReportAllocFailure(unsigned failureCode, unsigned long long size, const char* name,
                           bool possiblyFragmented)
{
    if (t_reporting) {
        ALOG_Log(0, "U", "Up_ReportAllocFailure", "Recurse");
        return;
    }
    ReportingGuard guard;
    if (possiblyFragmented) TracePossibleFragmentation(size);
    try {
        U_ReportError(failureCode, U_Sev_PLAIN, FailureText(size, name));
    } catch (std::exception& exception) {
        // No memory even for the message: the caller's null says it all. An `int` is the answer of a logging
        // callback, and goes to the caller.
        U_TranslateAndReportException(exception);
    }
}
