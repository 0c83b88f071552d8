// Templates, specifications and numbers of any shape, with arguments of any kind. The first bytes choose numbers
// and kinds; then template and texts follow, separated by zero bytes.
#include <cstring>
#include <string>
#include <vector>

#include "U.h"
#include "U_ErrState.h"
#include "U_String.h"
#include "U_SubString.h"
#include "Up_SubString.h"

namespace {

void Require(bool holds)
{
    if (!holds) __builtin_trap();
}

// Takes values and texts off the front of the input; what is missing is zero or empty.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : m_at{data}, m_end{data + size} {}

    template <class Value>
    Value Take()
    {
        Value value{};
        const auto size = std::min(sizeof value, static_cast<size_t>(m_end - m_at));
        if (size) std::memcpy(&value, m_at, size);
        m_at += size;
        return value;
    }

    std::string TakeText()
    {
        const std::string text{m_at, std::find(m_at, m_end, 0)};
        m_at += std::min(text.size() + 1, static_cast<size_t>(m_end - m_at));
        return text;
    }

  private:
    const uint8_t* m_at;
    const uint8_t* m_end;
};

// Multibyte arguments, which the variadic form would take from its list.
class Arguments final : public Up_SubStringArguments {
  public:
    explicit Arguments(Input& input) : m_input{input} {}
    bool AtEnd() const override { return false; }
    const void* NextText() override { return (m_text = m_input.TakeText()).c_str(); }
    int32_t NextInt32() override { return m_input.Take<int32_t>(); }
    int64_t NextInt64() override { return m_input.Take<int64_t>(); }
    double NextReal() override { return m_input.Take<double>(); }

  private:
    Input& m_input;
    std::string m_text;
};

void Numbers(Input& input)
{
    char out[256];
    const auto value = input.Take<double>();
    const auto flags = input.Take<uint8_t>();
    const auto left = input.Take<int32_t>();
    const auto right = input.Take<int32_t>();
    Require(U_FormatNum(value, flags, left, right, out) == 0 && std::strlen(out) < 32);
    double scanned = 0;
    Require(U_ScanNum(out, flags, &scanned) == 0);
    Require(U_ScanNum(input.TakeText().c_str(), flags, &scanned) == 0);
    Require(U_LongFormatBytes(input.Take<uint64_t>(), out) == 0);
}

void Typed(Input& input, const U_UTF16String& format)
{
    std::vector<U_UTF16String> texts(9);
    std::vector<U_SubStringArgument> arguments;
    const auto kinds = input.Take<uint16_t>();
    for (size_t i = 0; i < texts.size(); ++i) {
        texts[i] = U_MBToUTF16String(input.TakeText());
        if (kinds >> i & 1) {
            arguments.emplace_back(texts[i]);
        } else if (kinds >> 9 & 1) {
            arguments.emplace_back(input.Take<double>());
        } else {
            arguments.emplace_back(input.Take<int64_t>());
        }
    }
    U_UTF16String out;
    Require(U_SubStringFromArray(out, format, arguments.data(), arguments.size() - (kinds >> 12 & 7)) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Require(U_Birth("fuzz", 1) == 0 && U_StartQuietErrorsOnCurrentThread(0) == 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input{data, size};
    Numbers(input);
    const std::string format = input.TakeText();
    const U_UTF16String format16 = U_MBToUTF16String(format);
    Typed(input, format16);
    U_UTF16String out;
    Arguments arguments{input};
    Require(Up_SubString(out, format16, arguments, true) == 0);
    if (format.find('^') == format.npos) {
        char text[1024];
        Require(U_SubString(text, input.Take<uint16_t>() % sizeof text, format.c_str()) == 0);
        Require(std::strncmp(text, U_UTF16ToMBString(format16).c_str(), std::strlen(text)) == 0);
    }
    return 0;
}
