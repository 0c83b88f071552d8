// Text: what U_String.h and U_SubString.h do, beside what a user would take instead. Each side makes the kind of
// result that it makes in use: ours a string, ICU's C functions fill a buffer of the caller.
#include <fmt/format.h>
#include <locale.h>
#include <unicode/msgfmt.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

#include "Ratio.h"
#include "U_String.h"
#include "U_SubString.h"

namespace {

using benchmark::State;

std::string Sample(bool mixed, size_t size)
{
    const std::string unit = mixed ? "Caf\u00E9 \u00B10.5 \u2013 \u30EC\u30F3\u30C0\u30EA\u30F3\u30B0 "
                                     "\uD504\uB808\uC784 \U0001F3AC frame "
                                   : "The quick brown fox renders frame 0042 ";
    std::string text;
    while (text.size() < size) text += unit;
    if (!mixed) text.resize(size);
    return text;
}

U_UTF8String Bytes(const std::string& text)
{
    return U_UTF8String{zvkcore::string::Units(text)};
}

void Check(bool same, const char* row)
{
    if (same) return;
    std::fprintf(stderr, "%s: the outputs differ\n", row);
    std::exit(1);
}

// --- UTF-8 and UTF-16 ----------------------------------------------------------------------------------------

int32_t IcuWiden(const std::string& in, std::u16string& out)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t size = 0;
    u_strFromUTF8(out.data(), static_cast<int32_t>(out.size()), &size, in.data(),
                  static_cast<int32_t>(in.size()), &error);
    return size;
}

int32_t IcuNarrow(const U_UTF16String& in, std::string& out)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t size = 0;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &size, zvkcore::string::View(in).data(),
                static_cast<int32_t>(in.size()), &error);
    return size;
}

void Conversion(const std::string& what, const std::string& text, double wide, double narrow)
{
    const U_UTF8String bytes = Bytes(text);
    const U_UTF16String units = U_UTF8To16String(bytes);
    std::u16string widened(text.size() + 8, u' ');
    std::string narrowed(text.size() + 8, ' ');
    Check(zvkcore::string::View(units) ==
              std::u16string_view(widened.data(), static_cast<size_t>(IcuWiden(text, widened))),
          what.c_str());
    Check(text == std::string_view(narrowed.data(), static_cast<size_t>(IcuNarrow(units, narrowed))),
          what.c_str());

    qlbench::Pair(
        "UTF-8 to 16-bit, " + what + " / ICU", wide,
        [=](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(U_UTF8To16String(bytes));
        },
        [=](State& state) mutable {
            for (auto _ : state) benchmark::DoNotOptimize(IcuWiden(text, widened));
        });
    qlbench::Pair(
        "16-bit to UTF-8, " + what + " / ICU", narrow,
        [=](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(U_UTF16To8String(units));
        },
        [=](State& state) mutable {
            for (auto _ : state) benchmark::DoNotOptimize(IcuNarrow(units, narrowed));
        });
}

// --- Shift-JIS ------------------------------------------------------------------------------------------------

const std::string kShiftJIS =
    "Render \x83\x8C\x83\x93\x83\x5F\x83\x8A\x83\x93\x83\x4F \x95\x5C\x8E\xA6 0042 ";

void ShiftJIS()
{
    UErrorCode error = U_ZERO_ERROR;
    static UConverter* const converter = ucnv_open("windows-932", &error);
    static UChar buffer[64];
    const auto icu = [] {
        UErrorCode failed = U_ZERO_ERROR;
        return ucnv_toUChars(converter, buffer, 64, kShiftJIS.data(), static_cast<int32_t>(kShiftJIS.size()),
                             &failed);
    };
    const auto size = static_cast<size_t>(icu());
    U_SetApplicationTextEncoding(U_ENCODING_WINDOWS_JAPANESE);
    Check(zvkcore::string::View(U_MBToUTF16String(kShiftJIS)) == std::u16string_view(buffer, size),
          "Shift-JIS");
    U_SetApplicationTextEncoding(U_ENCODING_UTF8);
    qlbench::Pair(
        "Shift-JIS to 16-bit, 34 B / ICU, open converter", 1.3,
        [](State& state) {
            U_SetApplicationTextEncoding(U_ENCODING_WINDOWS_JAPANESE);
            for (auto _ : state) benchmark::DoNotOptimize(U_MBToUTF16String(kShiftJIS));
            U_SetApplicationTextEncoding(U_ENCODING_UTF8);
        },
        [icu](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(icu());
        });
}

// --- Byte classification ----------------------------------------------------------------------------------------

constexpr unsigned int kJapaneseScript = 1;

void Classification(const std::string& what, double bound, const std::string& text)
{
    static locale_t japanese;
    if (!japanese) {
        setenv("LOCPATH", QL_LOCALE_DIR, 1);
        japanese = newlocale(LC_ALL_MASK, "ja_JP.SJIS", locale_t{});
        U_CharByteFromScript("A", 0, kJapaneseScript);
        unsetenv("LOCPATH");
    }
    Check(japanese, "the build has no ja_JP.SJIS");
    const auto last = static_cast<long>(text.size()) - 1;
    const auto walk = [text] {
        const locale_t former = uselocale(japanese);
        std::mbstate_t state{};
        size_t length = 0;
        for (size_t at = 0; at < text.size(); at += length)
            length = mbrlen(&text[at], text.size() - at, &state);
        uselocale(former);
        return length;
    };
    Check((U_CharByteFromScript(text.c_str(), last, kJapaneseScript) == 1) == (walk() == 2),
          "classification");
    qlbench::Pair(
        "class of the last byte, " + what + " / mbrlen under uselocale", bound,
        [=](State& state) {
            for (auto _ : state) {
                benchmark::DoNotOptimize(U_CharByteFromScript(text.c_str(), last, kJapaneseScript));
            }
        },
        [=](State& state) {
            for (auto _ : state) benchmark::DoNotOptimize(walk());
        });
}

// --- Templates and numbers ----------------------------------------------------------------------------------------

constexpr const char* kTemplate = "Unable to allocate ^1 MB for ^2 at frame ^L3.";
constexpr const char* kFmtTemplate = "Unable to allocate {0} MB for {1} at frame {2}.";

std::string Filled()
{
    char out[256];
    U_SubString(out, sizeof out, kTemplate, "4.00", "Layer 7", 42);
    return out;
}

std::string FilledByFmt()
{
    return fmt::format(fmt::runtime(kFmtTemplate), "4.00", "Layer 7", 42);
}

icu::UnicodeString FilledByIcu()
{
    static const icu::Formattable arguments[] = {icu::UnicodeString("4.00"), icu::UnicodeString("Layer 7"),
                                                 icu::Formattable(int32_t{42})};
    static const icu::UnicodeString format(kFmtTemplate);
    UErrorCode error = U_ZERO_ERROR;
    icu::UnicodeString out;
    icu::MessageFormat::format(format, arguments, 3, out, error);
    return out;
}

void Templates()
{
    std::string byIcu;
    FilledByIcu().toUTF8String(byIcu);
    Check(Filled() == FilledByFmt() && Filled() == byIcu, "templates");
    static const U_UTF16String format = U_AsciiToUTF16String(kTemplate);
    static const U_UTF16String size = U_AsciiToUTF16String("4.00");
    static const U_UTF16String name = U_AsciiToUTF16String("Layer 7");
    const auto ours = [](State& state) {
        char out[256];
        for (auto _ : state) {
            U_SubString(out, sizeof out, kTemplate, "4.00", "Layer 7", 42);
            benchmark::ClobberMemory();
        }
    };
    const auto ours16 = [](State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(U_SubString16(format, size, name, 42));
    };
    const auto fmt = [](State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(FilledByFmt());
    };
    const auto icu = [](State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(FilledByIcu());
    };
    qlbench::Pair("template of three, multibyte / fmt", 3, ours, fmt);
    qlbench::Pair("template of three, 16-bit / fmt", 3, ours16, fmt);
    qlbench::Pair("template of three, multibyte / MessageFormat", 0.1, ours, icu);
    qlbench::Pair("template of three, 16-bit / MessageFormat", 0.1, ours16, icu);
}

void Numbers()
{
    constexpr double kFirst = 1234567.891;
    char ours[32];
    char peer[64];
    for (double value = kFirst; value < kFirst + 1000; ++value) {
        U_FormatNum(value, U_FORMAT_NO_INTL, 1, 2, ours);
        std::snprintf(peer, sizeof peer, "%.2f", value);
        Check(std::strcmp(ours, peer) == 0, "numbers");
    }
    const auto snprintf = [](State& state) {
        char out[64];
        for (double value = kFirst; auto _ : state) {
            std::snprintf(out, sizeof out, "%.2f", value++);
            benchmark::ClobberMemory();
        }
    };
    const auto format = [](unsigned int flags) {
        return [flags](State& state) {
            char out[256];
            for (double value = kFirst; auto _ : state) {
                U_FormatNum(value++, flags, 1, 2, out);
                benchmark::ClobberMemory();
            }
        };
    };
    qlbench::Pair("number with two decimals, plain form / snprintf", 1.2, format(U_FORMAT_NO_INTL), snprintf);
    qlbench::Pair("number with two decimals, through the number locale / snprintf", 0, format(0), snprintf);
}

}  // namespace

int main(int argc, char** argv)
{
    Conversion("4 KiB ASCII", Sample(false, 4096), 0.2, 0.3);
    Conversion("40 B ASCII", Sample(false, 40), 0.3, 0.3);
    Conversion("4 KiB mixed", Sample(true, 4096), 1.1, 1.1);
    Conversion("40 B mixed", Sample(true, 40), 1.1, 1.1);
    ShiftJIS();
    Classification("Shift-JIS 34 B", 1.1, kShiftJIS);
    Classification("16 B without ASCII", 0,
                   "\x83\x8C\x83\x93\x83\x5F\x83\x8A\x83\x93\x83\x4F\x95\x5C\x8E\xA6");
    Templates();
    Numbers();
    return qlbench::Main(argc, argv);
}
