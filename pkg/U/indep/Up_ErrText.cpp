// The error texts as a table, the two maps from error numbers to its rows, and the sentences made of them.
//
// State: the table is static data whose rows are filled in as they are asked for (U_LStr.h).
#include "Up_ErrText.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "U_String.h"
#include "Up_Err.h"

// Each row is its number and its English text. Texts that begin with a blank are put straight behind another
// word; the misspellings of none of them may be mended, since the keys of dictionaries go with them.
#define UOVERRIDE_ROW(number, text) U_LSTR_ROW("$$$/QL/UOverride/LStr/" number "=" text)

// clang-format off
U_ZLStrCacheEntry UOverride_G_ztab[] = {
    UOVERRIDE_ROW("0000", ""),
    UOVERRIDE_ROW("0001", " warning"),
    UOVERRIDE_ROW("0002", " error"),
    UOVERRIDE_ROW("0003", " can#{rsquo}t continue"),
    UOVERRIDE_ROW("0004", "%s at line %d in file #{ldquo}%s#{rdquo}."),
    UOVERRIDE_ROW("0005", "unable to allocate %d bytes for %s."),
    UOVERRIDE_ROW("0006", "not enough memory to create %s.  (%dK requested)"),
    UOVERRIDE_ROW("0007", "not enough memory to create %s.#{endl}(%dK requested, %dK available)"),
    UOVERRIDE_ROW("0008", "unable to load resource ID %d"),
    UOVERRIDE_ROW("0009", "null internal structures."),
    UOVERRIDE_ROW("0010", "Error reporting error: %s"),
    UOVERRIDE_ROW("0011", "Internal structures damaged."),
    UOVERRIDE_ROW("0012", "out of memory while trying to U_Birth"),
    UOVERRIDE_ROW("0013", "bad parameter passed to U_DoModalDlgP"),
    UOVERRIDE_ROW("0014", "loading resource"),
    UOVERRIDE_ROW("0015", "directory full"),
    UOVERRIDE_ROW("0016", "disk is full"),
    UOVERRIDE_ROW("0017", "no such volume"),
    UOVERRIDE_ROW("0018", "disk error (I/O error; bad media)"),
    UOVERRIDE_ROW("0019", "bad file name"),
    UOVERRIDE_ROW("0020", "file not open"),
    UOVERRIDE_ROW("0021", "unexpected end-of-file"),
    UOVERRIDE_ROW("0022", "too many files are open"),
    UOVERRIDE_ROW("0023", "file not found"),
    UOVERRIDE_ROW("0024", "disk is write protected"),
    UOVERRIDE_ROW("0025", "file is locked"),
    UOVERRIDE_ROW("0026", "volume is locked"),
    UOVERRIDE_ROW("0027", "file is busy (delete)"),
    UOVERRIDE_ROW("0028", "duplicate filename"),
    UOVERRIDE_ROW("0029", "file is already open"),
    UOVERRIDE_ROW("0030", "bad file reference-number"),
    UOVERRIDE_ROW("0031", "you do not have permission to open this file"),
    UOVERRIDE_ROW("0032", "write permissions problem"),
    UOVERRIDE_ROW("0033", "Out of memory."),
    UOVERRIDE_ROW("0034", "no such directory"),
    UOVERRIDE_ROW("0035", "server volume has disconnected"),
    UOVERRIDE_ROW("0036", "color table entry protection has been violated"),
    UOVERRIDE_ROW("0037", "invalid type of graphics device"),
    UOVERRIDE_ROW("0038", "sound queue is full"),
    UOVERRIDE_ROW("0039", "an undefined code was passed to Gestalt"),
    UOVERRIDE_ROW("0040", "no error occurred"),
    UOVERRIDE_ROW("0041", "internal structure damaged"),
    UOVERRIDE_ROW("0042", "a bad parameter was passed"),
    UOVERRIDE_ROW("0043", "sorry, this is unimplemented"),
    UOVERRIDE_ROW("0044", "resource is missing or damaged"),
    UOVERRIDE_ROW("0045", "header is out of date"),
    UOVERRIDE_ROW("0046", "unsupported in this environment"),
    UOVERRIDE_ROW("0047", "unsupported document version"),
    UOVERRIDE_ROW("0048", "internal value out of range"),
    UOVERRIDE_ROW("0049", "multiple or corrupted death"),
    UOVERRIDE_ROW("0050", "multiple births"),
    UOVERRIDE_ROW("0051", " invalid severity code"),
    UOVERRIDE_ROW("0052", "Your string is too long."),
    UOVERRIDE_ROW("0053", "assertion failed#{endl}%s#{endl}line: %d of file: %s."),
    UOVERRIDE_ROW("0054", "bad version architecture"),
    UOVERRIDE_ROW("0055", "Macintosh"),
    UOVERRIDE_ROW("0056", "SPARC"),
    UOVERRIDE_ROW("0057", "Windows"),
    UOVERRIDE_ROW("0058", "SGI"),
    UOVERRIDE_ROW("0059", "RS/6000"),
    UOVERRIDE_ROW("0060", "DEC"),
    UOVERRIDE_ROW("0061", "HP"),
    UOVERRIDE_ROW("0062", "HP/700"),
    UOVERRIDE_ROW("0063", "Win32"),
    UOVERRIDE_ROW("0064", "Macintosh"),
    UOVERRIDE_ROW("0065", "unknown"),
    UOVERRIDE_ROW("0066", "resizing block"),
    UOVERRIDE_ROW("0067", "invalid memory block"),
    UOVERRIDE_ROW("0068", "resizing handle"),
    UOVERRIDE_ROW("0069", "resizing pointer"),
    UOVERRIDE_ROW("0070", "bad parameter"),
    UOVERRIDE_ROW("0071", "resource not found"),
    UOVERRIDE_ROW("0072", "can#{rsquo}t find QuickTime handler"),
    UOVERRIDE_ROW("0073", "can#{rsquo}t open QuickTime handler"),
    UOVERRIDE_ROW("0074", "no QuickTime data handler"),
    UOVERRIDE_ROW("0075", "invalid QuickTime media"),
    UOVERRIDE_ROW("0076", "invalid QuickTime movie"),
    UOVERRIDE_ROW("0077", "invalid QuickTime duration"),
    UOVERRIDE_ROW("0078", "invalid QuickTime time"),
    UOVERRIDE_ROW("0079", "QuickTime not initialized"),
    UOVERRIDE_ROW("0080", "bad QuickTime track index"),
    UOVERRIDE_ROW("0081", "no QuickTime movie found"),
    UOVERRIDE_ROW("0082", "bad QuickTime data reference"),
    UOVERRIDE_ROW("0083", "code fragment connection not found"),
    UOVERRIDE_ROW("0084", "code fragment symbol not found"),
    UOVERRIDE_ROW("0085", "code fragment library not found"),
    UOVERRIDE_ROW("0086", "code fragment duplicate name"),
    UOVERRIDE_ROW("0087", "code fragment library too old"),
    UOVERRIDE_ROW("0088", "code fragment library too new"),
    UOVERRIDE_ROW("0089", "access denied"),
    UOVERRIDE_ROW("0090", "QuickTime error"),
    UOVERRIDE_ROW("0091", "code fragment error"),
    UOVERRIDE_ROW("0092", " debug info"),
    UOVERRIDE_ROW("0093", "getting size of handle"),
    UOVERRIDE_ROW("0094", "swapping handle data"),
    UOVERRIDE_ROW("0095", "missing QuickTime codec"),
    UOVERRIDE_ROW("0096", "QuickTime codec abort error"),
    UOVERRIDE_ROW("0097", "QuickTime codec bad data error"),
    UOVERRIDE_ROW("0098", "QuickTime codec data version error"),
    UOVERRIDE_ROW("0099", "QuickTime codec extension not found"),
    UOVERRIDE_ROW("0100", "QuickTime codec condition error"),
    UOVERRIDE_ROW("0101", "QuickTime codec error"),
    UOVERRIDE_ROW("0102", "QuickTime digitizing error"),
    UOVERRIDE_ROW("0103", "QuickTime controller error"),
    UOVERRIDE_ROW("0104", "OK"),
    UOVERRIDE_ROW("0105", "( %d :: %d )"),
    UOVERRIDE_ROW("0106", " #{mdash} "),
    UOVERRIDE_ROW("0107", "%s%s%s."),
    UOVERRIDE_ROW("0108", "%s #{mdash} %s (%d)."),
    UOVERRIDE_ROW("0109", "%s (%d)."),
    UOVERRIDE_ROW("0110", "internal verification failure, sorry! {^^1}"),
    UOVERRIDE_ROW("0111", "Verification failure: ^^1 {^^2}"),
    UOVERRIDE_ROW("0112", "Out of memory. (%dK requested)"),
    UOVERRIDE_ROW("0113", "tracked memory global table"),
    UOVERRIDE_ROW("0114", "tracked memory name"),
    UOVERRIDE_ROW("0115", "bad tracked memory ID"),
    UOVERRIDE_ROW("0116", "Cannot resize a locked handle."),
    UOVERRIDE_ROW("0117", "Out of memory.#{endl}(%dK requested, %dK available)"),
    UOVERRIDE_ROW("0118", "Path name too long"),
    U_LSTR_CLOSING_ROW,
};
// clang-format on
static_assert(std::size(UOverride_G_ztab) == 120);

U_ZLStrCache UOverride_G_zhdr = U_LSTR_HEADER("UOverride", UOverride_G_ztab);
U_ZLStrCache_Opaque* const UOverride_G_zref = reinterpret_cast<U_ZLStrCache_Opaque*>(&UOverride_G_zhdr);

namespace {

constexpr int kNoRow = 0;  // its text is empty, by which the sentences know that a number has none
constexpr int kRowDash = 106;
constexpr int kRowSentence = 107;
constexpr int kRowSystemSentence = 108;
constexpr int kRowSystemNumber = 109;

struct NumberRow {
    int number;
    int row;
};

constexpr NumberRow kLibraryErrors[] = {
    {0, 40}, {2, 41},  {3, 42},  {4, 33},  {7, 45},  {8, 46},
    {9, 47}, {10, 48}, {11, 49}, {12, 50}, {20, 43}, {21, 44},
};

// The numbers are those of Mac OS, whatever the system.
constexpr NumberRow kSystemErrors[] = {
    {-33, 15},   {-34, 16},   {-35, 17},   {-36, 18},   {-37, 19},    {-38, 20},   {-39, 21},    {-42, 22},
    {-43, 23},   {-44, 24},   {-45, 25},   {-46, 26},   {-47, 27},    {-48, 28},   {-49, 29},    {-50, 70},
    {-51, 30},   {-54, 31},   {-61, 32},   {-108, 33},  {-111, 67},   {-120, 34},  {-124, 35},   {-154, 36},
    {-155, 37},  {-192, 71},  {-203, 38},  {-2003, 72}, {-2004, 73},  {-2007, 74}, {-2008, 75},  {-2010, 76},
    {-2014, 77}, {-2015, 78}, {-2020, 79}, {-2028, 80}, {-2048, 81},  {-2050, 82}, {-2110, 118}, {-2801, 83},
    {-2802, 84}, {-2804, 85}, {-2805, 86}, {-2813, 87}, {-2814, 88},  {-5000, 89}, {-5551, 39},  {-8961, 95},
    {-8967, 96}, {-8969, 97}, {-8970, 98}, {-8971, 99}, {-8972, 100},
};

struct RangeRow {
    int lowest, highest;
    int row;
};

// Asked in this order for a number that has no row of its own.
constexpr RangeRow kSystemRanges[] = {
    {-2058, -2000, 90}, {-2899, -2800, 91}, {-8976, -8960, 101}, {-9408, -9400, 102}, {-9999, -9994, 103},
};

constexpr bool RowsExist()
{
    const auto exists = [](const auto& entry) { return entry.row > 0 && entry.row <= 118; };
    return std::all_of(std::begin(kLibraryErrors), std::end(kLibraryErrors), exists) &&
           std::all_of(std::begin(kSystemErrors), std::end(kSystemErrors), exists) &&
           std::all_of(std::begin(kSystemRanges), std::end(kSystemRanges), exists);
}
static_assert(RowsExist());

template <size_t kCount>
int FindRow(const NumberRow (&rows)[kCount], int number)
{
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [number](const NumberRow& entry) { return entry.number == number; });
    return row == std::end(rows) ? kNoRow : row->row;
}

int SystemRow(int number)
{
    if (const int row = FindRow(kSystemErrors, number)) return row;
    for (const RangeRow& range : kSystemRanges) {
        if (number >= range.lowest && number <= range.highest) return range.row;
    }
    return kNoRow;
}

// The logging buffer without a full stop at its end.
char* BufferWithoutFullStop()
{
    char* const buffer = Up_GetThreadLoggingBuffer();
    const size_t length = std::strlen(buffer);
    if (length != 0 && buffer[length - 1] == '.') buffer[length - 1] = 0;
    return buffer;
}

char* Rewrite(char* buffer, const char* format, std::initializer_list<Up_FormatArgument> arguments)
{
    char sentence[Up_kLoggingBufferSize];
    Up_FormatRow(sentence, sizeof sentence, format, arguments);
    U_CopyString(sentence, Up_kLoggingBufferSize, buffer);
    return buffer;
}

}  // namespace

const char* Up_String(long n)
{
    constexpr long kOutside = -1;
    const bool exists = n >= 0 && n < static_cast<long>(std::size(UOverride_G_ztab));
    return U_ZLookupLStrCache(UOverride_G_zref, static_cast<int>(exists ? n : kOutside), 0, nullptr);
}

void Up_FormatRow(char* out, size_t size, const char* format,
                  std::initializer_list<Up_FormatArgument> arguments)
{
    std::string text;
    const Up_FormatArgument* next = arguments.begin();
    for (const char* at = format; *at != 0; ++at) {
        const char kind = *at == '%' ? at[1] : '\0';
        const bool isText = kind == 's' && next != arguments.end() && next->Text();
        const bool isNumber = kind == 'd' && next != arguments.end() && !next->Text();
        if (isText) text += next->Text();
        if (isNumber) text += std::to_string(next->Number());
        if (isText || isNumber) {
            ++next;
            ++at;
        } else {
            text += *at;
        }
    }
    U_CopyString(text.c_str(), size, out);
}

char* Up_TolmEnglishError(int error)
{
    const char* text = Up_String(FindRow(kLibraryErrors, error));
    char* const buffer = BufferWithoutFullStop();
    const char* separator = "";
    char number[32];
    if (*text == 0) {
        std::snprintf(number, sizeof number, " (%x)", static_cast<unsigned>(error));
        text = number;
    } else if (*buffer != 0) {
        separator = Up_String(kRowDash);
    }
    return Rewrite(buffer, Up_String(kRowSentence), {buffer, separator, text});
}

char* Up_SysEnglishError(int error)
{
    // Wanted: the number is shown here in every case, and for a library error only when it has no text.
    const char* const text = Up_String(SystemRow(error));
    char* const buffer = BufferWithoutFullStop();
    if (*text != 0) return Rewrite(buffer, Up_String(kRowSystemSentence), {buffer, text, error});
    return Rewrite(buffer, Up_String(kRowSystemNumber), {buffer, error});
}
