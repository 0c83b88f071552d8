// The words around a report's text: the prefix of its severity, and its location.
#include <algorithm>

#include "U.h"
#include "U_String.h"
#include "U_ZString.h"
#include "Up_Err.h"
#include "Up_ErrText.h"
#include "Up_Globals.h"
#include "zvkcore/string/Format.h"

namespace {

using namespace zvkcore::string::literals;

struct SeverityWord {
    U_Severity severity;
    const char* key;
};

// The words keep their leading blank: they stand straight behind the program's name.
constexpr SeverityWord kWords[] = {
    {U_Sev_WARNING, "$$$/QL/UOverride/LStr/0001= warning"},
    {U_Sev_PROBLEM, "$$$/QL/UOverride/LStr/0002= error"},
    {U_Sev_FATAL, "$$$/QL/UOverride/LStr/0003= can#{rsquo}t continue"},
    {U_Sev_DEBUG, "$$$/QL/UOverride/LStr/0092= debug info"},
    {U_Sev_LEAK, "$$$/QL/UOverride/LStr/0001= warning"},
};
constexpr char kInvalidSeverity[] = "$$$/QL/UOverride/LStr/0051= invalid severity code";

U_UTF16String Word(U_Severity severity)
{
    if (severity == U_Sev_PLAIN) return {};
    const auto found = std::find_if(std::begin(kWords), std::end(kWords),
                                    [&](const SeverityWord& word) { return word.severity == severity; });
    return U_ZStringToUTF16String(found == std::end(kWords) ? kInvalidSeverity : found->key);
}

/// Appends "Name word: ". What fails on the way leaves what was appended so far.
Err AppendPrefix(U_Severity severity, U_UTF16String& result)
{
    return U_TrySection([&]() -> Err {
        const U_UTF16String order = U_ZStringToUTF16String("$$$/QL/U/ql_err_msg_order=@0@1");
        char name[Up_kNameSize];
        if (const Err code = U_GetName(name); code != 0) return code;
        result = zvkcore::string::ReplaceInString(order, U_MBToUTF16String(name), Word(severity));
        result += U_ZStringToUTF16String("$$$/QL/EGG/LStr/0975=:");
        result += u' ';
        return U_Err_NONE;
    });
}

}  // namespace

U_UTF16String Up_ReportErrorFormatter16(U_Severity severity, const U_UTF16String& text)
{
    if (severity == U_Sev_NONE) return text;
    U_UTF16String result;
    if (severity == U_Sev_CONTINUED) {
        result = u"  "_u16;
    } else {
        // A report without its prefix is better than none.
        AppendPrefix(severity, result);
    }
    result += text;
    return result;
}

U_UTF16String Up_LocationText(unsigned int location)
{
    if (location == 0) return {};
    char text[128];
    Up_FormatRow(text, sizeof text, Up_String(105),
                 {static_cast<int>(location >> 16), static_cast<int>(location & 0xffff)});
    return U_MBToUTF16String(text);
}
